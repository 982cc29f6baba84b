#include "picture/Comparison.h"

#include "text/TextTable.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <utility>

namespace qx::tool {
namespace {

// Of the longer side of a tile, in pixels of which two go on a logical one.
constexpr int kTileSide = 720;
constexpr double kPixelSide = 0.5;
constexpr double kShownRatios = 0.98;
constexpr double kLeastSpread = 0.0001;
constexpr double kLargestSpread = 1.0;

// The distance from 1 within which nearly all ratios lie.
double spreadOf(const FloatImage& ratio, const Region& region) {
    std::vector<double> distances;
    makeRoom(distances, static_cast<std::size_t>(region.shape.pixelCount()));
    const auto [firstColumn, endColumn] = region.columns();
    for (int row = region.rows().first; row < region.rows().end; ++row) {
        const float* const line = ratio.row(row);
        std::for_each(line + firstColumn, line + endColumn, [&distances](float value) {
            if (std::isfinite(value))
                distances.push_back(std::abs(value - 1.0));
        });
    }
    const auto rank = static_cast<std::ptrdiff_t>(kShownRatios * std::ssize(distances));
    if (rank == 0)
        return kLeastSpread;
    const auto largestShown = distances.begin() + rank;
    std::nth_element(distances.begin(), largestShown, distances.end());
    return std::clamp(*largestShown, kLeastSpread, kLargestSpread);
}

// 1 becomes the middle of the counts. What is no number looks like 1.
WORD ratioCount(float ratio, double spread) {
    const double distance = std::isnan(ratio) ? 0.0 : (ratio - 1.0) / spread;
    return truncatedCount(32767.5 * (1.0 + std::clamp(distance, -1.0, 1.0)));
}

}  // namespace

ComparedImage compared(const RawImage& image, const GreyWindow& window, const std::string& caption) {
    return {copyOf(image), window, caption, scaleOf(window)};
}

ComparedImage compared(const FloatImage& ratio, const Region& region, const std::string& caption) {
    const double spread = spreadOf(ratio, region);
    RawImage counts{ratio.shape, {}};
    makeRoom(counts.pixels, ratio.pixels.size());
    for (const float value : ratio.pixels)
        counts.pixels.push_back(ratioCount(value, spread));
    return {
        std::move(counts), GreyWindow{}, caption, {formatNumber(1.0 - spread, 4), formatNumber(1.0 + spread, 4), ""}};
}

GreyWindow windowOf(const RawImage& image, const Region& region) {
    return windowOf(fit(image, region, pictureShape(region, kTileSide)), PercentileWindow{});
}

Drawing drawComparison(const std::vector<ComparedImage>& images, const Region& region, int columns) {
    const Shape original = images.front().image.shape;
    const Shape picture = pictureShape(region, kTileSide);
    std::vector<Tile> tiles;
    for (const auto& [image, window, caption, scale] : images) {
        const RawImage shown = fit(image, resampledRegion(region, original, image.shape), picture);
        tiles.push_back({makePreview(shown, window, picture.width), kPixelSide, scale, caption, {}});
    }
    return drawTiles(tiles, columns);
}

}  // namespace qx::tool
