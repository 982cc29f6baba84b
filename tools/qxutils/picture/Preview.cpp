#include "picture/Preview.h"

#include "image/MedianOf.h"

#include <QxUtils/Numerics.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <numeric>
#include <vector>

namespace qx::tool {
namespace {

constexpr int kGreyLevels = 65536;
constexpr double kWhite = 255.0;

// Of a square of as many columns as rows, the sums of whose columns are given.
WORD meanOf(const std::uint32_t* sums, int side) {
    const std::int64_t sum = std::accumulate(sums, sums + side, std::int64_t{0});
    const std::int64_t count = std::int64_t{side} * side;
    return static_cast<WORD>((sum + count / 2) / count);
}

// In the order of the memory: the sums of each column of a few rows, then those of a few columns.
RawImage shrink(const RawImage& image, int scale) {
    const int side = std::min(scale, image.shape.height);
    RawImage small{{image.shape.width / scale, std::max(1, image.shape.height / scale)}, {}};
    std::vector<std::uint32_t> sums(static_cast<std::size_t>(image.shape.width));
    for (int top = 0; top < small.shape.height * side; top += side) {
        std::ranges::fill(sums, 0);
        for (int y = top; y < top + side; ++y)
            std::transform(sums.begin(), sums.end(), image.row(y), sums.begin(), std::plus<>());
        for (int x = 0; x < small.shape.width * scale; x += scale)
            small.pixels.push_back(meanOf(sums.data() + x, side));
    }
    return small;
}

// The grey of every count: what lies outside the window is as its border.
std::vector<std::uint8_t> shadesOf(const GreyWindow& window) {
    const double span = std::max(1.0, window.white - window.black);
    std::vector<std::uint8_t> shades(kGreyLevels);
    for (std::size_t grey = 0; grey < shades.size(); ++grey) {
        const double shade = std::clamp((static_cast<double>(grey) - window.black) / span, 0.0, 1.0) * kWhite;
        shades[grey] = static_cast<std::uint8_t>(std::lround(shade));
    }
    return shades;
}

// The grey value below which the given share of the pixels lies.
double percentile(const std::vector<int>& histogram, int pixels, double percent) {
    int rank = static_cast<int>(percent / 100.0 * (pixels - 1));
    int grey = 0;
    for (const int count : histogram) {
        if (rank < count)
            break;
        rank -= count;
        ++grey;
    }
    return grey;
}

GreyPicture applyWindow(const RawImage& image, const GreyWindow& window) {
    const std::vector<std::uint8_t> shades = shadesOf(window);
    GreyPicture picture{image.shape, {}};
    picture.pixels.reserve(image.pixels.size());
    std::ranges::transform(image.pixels, std::back_inserter(picture.pixels), [&](WORD grey) { return shades[grey]; });
    return picture;
}

}  // namespace

int previewScale(const Shape& shape, int maxWidth) {
    return (shape.width + maxWidth - 1) / maxWidth;
}

GreyWindow windowOf(const RawImage& image, const PercentileWindow& window) {
    std::vector<int> histogram(kGreyLevels);
    for (const WORD grey : image.pixels)
        ++histogram[grey];
    const auto greyAt = [&](double percent) { return percentile(histogram, image.pixelCount(), percent); };
    return {greyAt(window.low), greyAt(window.high)};
}

GreyWindow windowAroundMedian(const RawImage& image, double share) {
    const double median = medianOf(image.pixels.data(), image.pixelCount());
    return {median * (1.0 - share), median * (1.0 + share)};
}

Preview makePreview(const RawImage& image, const PercentileWindow& window, int maxWidth) {
    const RawImage small = shrink(image, previewScale(image.shape, maxWidth));
    const GreyWindow counts = windowOf(small, window);
    return {applyWindow(small, counts), counts};
}

GreyPicture makePreview(const RawImage& image, const GreyWindow& window, int maxWidth) {
    return applyWindow(shrink(image, previewScale(image.shape, maxWidth)), window);
}

}  // namespace qx::tool
