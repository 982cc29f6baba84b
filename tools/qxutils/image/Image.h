#pragma once

#include "common/Shape.h"
#include "files/MakeRoom.h"

#include <QxUtils/Types.h>

#include <cstddef>
#include <cstdint>
#include <vector>

// Images in memory.

namespace qx::tool {

// Pixels row by row, without gaps.
template <class Pixel>
struct Image {
    Shape shape;
    std::vector<Pixel> pixels;

    Pixel* row(int y) { return pixels.data() + std::ptrdiff_t{y} * shape.width; }
    const Pixel* row(int y) const { return pixels.data() + std::ptrdiff_t{y} * shape.width; }
    Pixel& at(int y, int x) { return row(y)[x]; }
    const Pixel& at(int y, int x) const { return row(y)[x]; }

    // As the library counts them.
    int pixelCount() const { return static_cast<int>(pixels.size()); }
};

// Counts as the detector delivers them.
using RawImage = Image<WORD>;

// Single precision: an average dark image, a corrected one, or block values.
using FloatImage = Image<float>;

// Sums of frames.
using LongImage = Image<std::uint32_t>;

template <class Pixel>
Image<Pixel> filledImage(const Shape& shape, const Pixel& value) {
    const auto count = static_cast<std::size_t>(shape.pixelCount());
    Image<Pixel> image{shape, {}};
    makeRoom(image.pixels, count);
    image.pixels.resize(count, value);
    return image;
}

template <class Pixel>
Image<Pixel> copyOf(const Image<Pixel>& image) {
    Image<Pixel> copy{image.shape, {}};
    makeRoom(copy.pixels, image.pixels.size());
    copy.pixels.assign(image.pixels.begin(), image.pixels.end());
    return copy;
}

// What a value is as a count: cut off to what 16 bits hold, without its fraction.
WORD truncatedCount(double value);

RawImage truncatedCounts(const FloatImage& image);

}  // namespace qx::tool
