#include "picture/Preview.h"

#include <algorithm>
#include <cmath>

namespace qx::tool {
namespace {

constexpr int kGreyLevels = 65536;
constexpr double kWhite = 255.0;

WORD blockMean(const RawImage& image, int firstRow, int firstColumn, int scale) {
    std::uint64_t sum = 0;
    for (int row = firstRow; row < firstRow + scale; ++row) {
        const WORD* line = image.pixels.data() + std::size_t(row) * std::size_t(image.shape.width) + firstColumn;
        for (int column = 0; column < scale; ++column)
            sum += line[column];
    }
    const std::uint64_t count = std::uint64_t(scale) * std::uint64_t(scale);
    return static_cast<WORD>((sum + count / 2) / count);
}

RawImage shrink(const RawImage& image, int scale) {
    RawImage small{{image.shape.width / scale, std::max(1, image.shape.height / scale)}, false, {}};
    const int blockSide = std::min(scale, image.shape.height);
    for (int row = 0; row < small.shape.height; ++row) {
        for (int column = 0; column < small.shape.width; ++column)
            small.pixels.push_back(blockMean(image, row * blockSide, column * scale, blockSide));
    }
    return small;
}

// The grey value below which the given share of the pixels lies.
double percentile(const std::vector<std::uint32_t>& counts, std::size_t total, double percent) {
    const auto rank = static_cast<std::uint64_t>(percent / 100.0 * static_cast<double>(total - 1));
    std::uint64_t seen = 0;
    for (int grey = 0; grey < kGreyLevels; ++grey) {
        seen += counts[std::size_t(grey)];
        if (seen > rank)
            return grey;
    }
    return kGreyLevels - 1;
}

GreyPicture applyWindow(const RawImage& image, const GreyWindow& window) {
    const double span = std::max(1.0, window.white - window.black);
    GreyPicture picture{image.shape, {}};
    picture.pixels.reserve(image.pixels.size());
    for (const WORD grey : image.pixels) {
        const double shade = std::clamp((grey - window.black) / span, 0.0, 1.0) * kWhite;
        picture.pixels.push_back(static_cast<std::uint8_t>(std::lround(shade)));
    }
    return picture;
}

}  // namespace

int previewScale(const Shape& shape, int maxWidth) {
    return (shape.width + maxWidth - 1) / maxWidth;
}

GreyWindow windowOf(const RawImage& image, const PercentileWindow& window) {
    std::vector<std::uint32_t> counts(kGreyLevels);
    for (const WORD grey : image.pixels)
        ++counts[grey];
    return {percentile(counts, image.pixels.size(), window.low), percentile(counts, image.pixels.size(), window.high)};
}

GreyPicture makePreview(const RawImage& image, const PercentileWindow& window, int maxWidth) {
    const RawImage small = shrink(image, previewScale(image.shape, maxWidth));
    return applyWindow(small, windowOf(small, window));
}

GreyPicture makePreview(const RawImage& image, const GreyWindow& window, int maxWidth) {
    return applyWindow(shrink(image, previewScale(image.shape, maxWidth)), window);
}

}  // namespace qx::tool
