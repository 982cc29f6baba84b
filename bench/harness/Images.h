#pragma once

// Images that the rows work on. No method may change them.

#include "Builders.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace qx::bench {

using Image = test::TestImage;

int pixelCount(const Image& image);
std::size_t byteCount(const Image& image);

// An image between two corrections.
struct FloatImage {
    int width;
    int height;
    std::vector<float> pixels;

    const float* data() const { return pixels.data(); }
    float* data() { return pixels.data(); }
    float* row(int y) { return data() + static_cast<std::ptrdiff_t>(y) * width; }
};

std::size_t byteCount(const FloatImage& image);

// A corrected flat field of side x side pixels: 52,000 counts above the pedestal, a variance of 0.75 counts a count.
std::shared_ptr<const Image> flatField(int side);

// The same without the rounding to whole counts.
FloatImage floatFlatField(int width, int height);

// Every pixel uniformly random in 0..65535: the worst case for histograms and branches.
std::shared_ptr<const Image> uniformPixels(int side);

// Half of the pixels at 65535, the others just below: neighbours that are equal.
std::shared_ptr<const Image> halfSaturated(int side);

// Every pixel the same.
std::shared_ptr<const Image> constantField(int side);

// A rectangle of an image; rows and columns as the region-of-interest functions take them, both ends inclusive.
struct Region {
    int rowStart;
    int rowEnd;
    int colStart;
    int colEnd;

    int width() const { return colEnd - colStart + 1; }
    int height() const { return rowEnd - rowStart + 1; }
};

// Regions spread over an image. Work on small regions takes another one each time: a branch predictor would learn a
// single one by heart and flatter the method.
std::vector<Region> spreadRegions(const Image& image, int width, int height, int number);

// The pixels of a region, row by row.
std::vector<WORD> pixelsOf(const Image& image, const Region& region);

}  // namespace qx::bench
