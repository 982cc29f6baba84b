#include "image/Image.h"

#include <algorithm>
#include <iterator>

namespace qx::tool {

WORD truncatedCount(double value) {
    return static_cast<WORD>(std::clamp(value, 0.0, 65535.0));
}

RawImage truncatedCounts(const FloatImage& image) {
    RawImage counts{image.shape, {}};
    counts.pixels.reserve(image.pixels.size());
    std::transform(image.pixels.begin(), image.pixels.end(), std::back_inserter(counts.pixels), truncatedCount);
    return counts;
}

}  // namespace qx::tool
