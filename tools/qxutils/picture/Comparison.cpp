#include "picture/Comparison.h"

#include "common/TextTable.h"
#include "picture/Tiles.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qx::tool {
namespace {

constexpr int kTileSide = 384;
constexpr double kShownRatios = 0.98;
constexpr double kLeastSpread = 0.0001;
constexpr double kLargestSpread = 1.0;

// The distance from 1 within which nearly all ratios lie.
double spreadOf(const FloatImage& ratio, const Region& region) {
    std::vector<double> distances;
    for (int row = region.corner.y; row < region.corner.y + region.shape.height; ++row) {
        const float* const line = ratio.pixels.data() + std::ptrdiff_t{row} * ratio.shape.width + region.corner.x;
        for (int column = 0; column < region.shape.width; ++column) {
            if (std::isfinite(line[column]))
                distances.push_back(std::abs(static_cast<double>(line[column]) - 1.0));
        }
    }
    const auto rank = static_cast<std::ptrdiff_t>(kShownRatios * static_cast<double>(distances.size()));
    if (rank == 0)
        return kLeastSpread;
    std::nth_element(distances.begin(), distances.begin() + rank, distances.end());
    return std::clamp(distances[static_cast<std::size_t>(rank)], kLeastSpread, kLargestSpread);
}

// 1 becomes the middle of the counts. What is no number looks like 1.
WORD toCount(float ratio, double spread) {
    const double distance = std::isnan(ratio) ? 0.0 : (static_cast<double>(ratio) - 1.0) / spread;
    return static_cast<WORD>(32767.5 * (1.0 + std::clamp(distance, -1.0, 1.0)));
}

std::string rangeText(double black, double white, int decimals) {
    return "black " + formatNumber(black, decimals) + ", white " + formatNumber(white, decimals);
}

}  // namespace

ComparedImage compared(const RawImage& image, const GreyWindow& window, const std::string& caption) {
    return {image, window, caption, rangeText(window.black, window.white, 0)};
}

ComparedImage compared(const FloatImage& ratio, const Region& region, const std::string& caption) {
    const double spread = spreadOf(ratio, region);
    RawImage counts{ratio.shape, false, {}};
    for (const float value : ratio.pixels)
        counts.pixels.push_back(toCount(value, spread));
    return {counts, GreyWindow{}, caption, rangeText(1.0 - spread, 1.0 + spread, 4)};
}

GreyWindow windowOf(const RawImage& image, const Region& region) {
    return windowOf(fit(image, region, pictureShape(region, kTileSide)), PercentileWindow{});
}

Canvas drawComparison(const std::vector<ComparedImage>& images, const Region& region, int columns) {
    const Shape original = images.front().image.shape;
    const Shape picture = pictureShape(region, kTileSide);
    std::vector<Tile> tiles;
    for (const auto& [image, window, caption, range] : images) {
        const RawImage shown = fit(image, resampledRegion(region, original, image.shape), picture);
        tiles.push_back({makePreview(shown, window, picture.width), caption, range, kTileText});
    }
    return drawTiles(tiles, columns);
}

}  // namespace qx::tool
