#include "picture/Preview.h"

#include "image/MedianOf.h"
#include "image/Region.h"

#include <QxUtils/Numerics.h>

#include <algorithm>
#include <cmath>

namespace qx::tool {
namespace {

constexpr int kGreyLevels = 65536;
constexpr double kWhite = 255.0;

RawImage shrink(const RawImage& image, int scale) {
    RawImage small{{image.shape.width / scale, std::max(1, image.shape.height / scale)}, {}};
    const int side = std::min(scale, image.shape.height);
    for (int y = 0; y < small.shape.height * side; y += side) {
        for (int x = 0; x < small.shape.width * scale; x += scale)
            small.pixels.push_back(meanOf(image, {y, y + side}, {x, x + side}));
    }
    return small;
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

GreyPicture makePreview(const RawImage& image, const PercentileWindow& window, int maxWidth) {
    const RawImage small = shrink(image, previewScale(image.shape, maxWidth));
    return applyWindow(small, windowOf(small, window));
}

GreyPicture makePreview(const RawImage& image, const GreyWindow& window, int maxWidth) {
    return applyWindow(shrink(image, previewScale(image.shape, maxWidth)), window);
}

}  // namespace qx::tool
