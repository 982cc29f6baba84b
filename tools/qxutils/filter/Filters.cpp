#include "filter/Filters.h"

#include "common/ToolError.h"

#include <QxUtils.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qx::tool {
namespace {

constexpr int kColumnWindow = 5;
constexpr int kSmoothingOrder = 2;

void requireSides(const Shape& shape, const Shape& least) {
    if (shape.width < least.width || shape.height < least.height)
        throw ToolError(toText(shape) + ": this filter's window needs at least " + toText(least) + " pixels",
                        ExitCode::Usage);
}

WORD toCount(float value) {
    return static_cast<WORD>(std::lround(std::clamp(value, 0.0f, 65535.0f)));
}

// Every row as a sequence of its own; filter changes it in place.
template <class RowFilter>
RawImage filterRows(const RawImage& image, RowFilter filter) {
    RawImage filtered{image.shape, false, std::vector<WORD>(image.pixels.size())};
    std::vector<float> row(static_cast<std::size_t>(image.shape.width));
    for (std::size_t start = 0; start < image.pixels.size(); start += row.size()) {
        std::copy_n(image.pixels.data() + start, row.size(), row.data());
        filter(row);
        std::transform(row.begin(), row.end(), filtered.pixels.data() + start, toCount);
    }
    return filtered;
}

}  // namespace

RawImage medianOfRows(const RawImage& image, int radius) {
    requireSides(image.shape, {2 * radius + 1, 1});
    return filterRows(
        image, [radius](std::vector<float>& row) { medianFilter(row.data(), static_cast<int>(row.size()), radius); });
}

RawImage medianOfColumns(const RawImage& image) {
    requireSides(image.shape, {1, kColumnWindow});
    RawImage filtered = image;
    filterImg(filtered.pixels.data(), image.shape.width, image.shape.height);
    return filtered;
}

RawImage equalize(const RawImage& image) {
    RawImage equalized = image;
    hisEqualization(equalized.pixels.data(), static_cast<int>(image.pixels.size()));
    return equalized;
}

RawImage smoothRows(const RawImage& image, int window) {
    std::vector<float> smooth(static_cast<std::size_t>(image.shape.width));
    return filterRows(image, [&](std::vector<float>& row) {
        const auto count = static_cast<int>(row.size());
        if (filterUsingSGolay(smooth.data(), row.data(), count, kSmoothingOrder, window) != StatusOk)
            throw ToolError("rows of " + std::to_string(count) + " pixels cannot be smoothed with window " +
                                std::to_string(window) +
                                "; there are the windows 5, 7, 15, 23, 31 and 51, none longer than the row",
                            ExitCode::Usage);
        row.swap(smooth);
    });
}

FloatImage localRatio(const RawImage& image) {
    constexpr int kLeast = 2 * kRatioBorder + 1;
    requireSides(image.shape, {kLeast, kLeast});
    FloatImage ratio{image.shape, std::vector<float>(image.pixels.size(), 1.0f)};
    getMedianImage(ratio.pixels.data(), image.pixels.data(), image.shape.width, image.shape.height);
    return ratio;
}

}  // namespace qx::tool
