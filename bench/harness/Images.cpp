#include "harness/Images.h"

#include <cmath>

namespace qx::bench {

namespace {

constexpr double kLevel = 52000;
constexpr double kVariancePerCount = 0.75;
const double kSigma = std::sqrt(kVariancePerCount * kLevel);

}  // namespace

int pixelCount(const Image& image) {
    return image.width * image.height;
}

std::size_t byteCount(const Image& image) {
    return image.pixels.size() * sizeof(WORD);
}

std::size_t byteCount(const FloatImage& image) {
    return image.pixels.size() * sizeof(float);
}

std::shared_ptr<const Image> flatField(int side) {
    return std::make_shared<const Image>(test::flatImage(side, side, kPedestal + kLevel, kSigma, 1));
}

FloatImage floatFlatField(int width, int height) {
    FloatImage image{width, height, {}};
    image.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    test::SplitMix64 random(5);
    for (float& pixel : image.pixels)
        pixel = static_cast<float>(kPedestal + kLevel + kSigma * random.gaussian());
    return image;
}

std::shared_ptr<const Image> uniformPixels(int side) {
    return std::make_shared<const Image>(test::randomImage(side, side, 0, 65535, 2));
}

std::shared_ptr<const Image> halfSaturated(int side) {
    return std::make_shared<const Image>(test::saturatedImage(side, side, 1));
}

std::shared_ptr<const Image> constantField(int side) {
    return std::make_shared<const Image>(test::constantImage(side, side, 52000));
}

std::vector<Region> spreadRegions(const Image& image, int width, int height, int number) {
    std::vector<Region> regions;
    test::SplitMix64 random(3);
    for (int i = 0; i < number; ++i) {
        const int row = random.below(image.height - height + 1);
        const int column = random.below(image.width - width + 1);
        regions.push_back({row, row + height - 1, column, column + width - 1});
    }
    return regions;
}

std::vector<WORD> pixelsOf(const Image& image, const Region& region) {
    std::vector<WORD> pixels;
    pixels.reserve(static_cast<std::size_t>(region.width()) * static_cast<std::size_t>(region.height()));
    for (int row = region.rowStart; row <= region.rowEnd; ++row) {
        const WORD* first = image.data() + static_cast<std::ptrdiff_t>(row) * image.width + region.colStart;
        pixels.insert(pixels.end(), first, first + region.width());
    }
    return pixels;
}

}  // namespace qx::bench
