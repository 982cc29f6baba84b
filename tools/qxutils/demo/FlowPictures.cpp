#include "demo/FlowPictures.h"

#include "checks/CheckMeasures.h"
#include "image/Region.h"

#include <QxUtils.h>

#include <algorithm>

namespace qx::tool {
namespace {

// Wide enough for the steps between AFEs and the fall of light towards the corners.
constexpr double kBalanceContrast = 0.12;

// The edges of the blocks at which the region ends.
std::vector<Line> outline(const ShadowRegion& shadow, const Shape& blocks, int scale) {
    const auto isInside = [&](int row, int column) {
        return row >= 0 && row < blocks.height && column >= 0 && column < blocks.width &&
               shadow.isInside[static_cast<std::size_t>(row * blocks.width + column)] != 0;
    };
    std::vector<Line> lines;
    for (int row = 0; row <= blocks.height; ++row) {
        for (int column = 0; column <= blocks.width; ++column) {
            const Point corner{std::max(column * scale, 1), std::max(row * scale, 1)};
            if (isInside(row, column) != isInside(row - 1, column))
                lines.push_back({corner, {(column + 1) * scale, corner.y}});
            if (isInside(row, column) != isInside(row, column - 1))
                lines.push_back({corner, {corner.x, (row + 1) * scale}});
        }
    }
    return lines;
}

}  // namespace

std::vector<Tile> drawBalance(const CalibrationFlow& flow, int side) {
    FloatImage image = subtractDark(flow.flat, flow.dark);
    const RawImage before = truncatedCounts(image);
    correctRDwithoutRgain(image.pixels.data(), image.shape.width, image.shape.height);
    const GreyWindow window = windowAroundMedian(before, kBalanceContrast);
    return {
        {makePreview(before, window, side), "before the AFE balance", "dark image subtracted", kTileText},
        {makePreview(truncatedCounts(image), window, side), "after the AFE balance", "AFEs at one level", kTilePassed}};
}

Tile drawShadow(const CalibrationFlow& flow, int side) {
    const FloatImage blocks = blockMedians(subtractDark(flow.collimated, flow.dark));
    const ShadowRegion shadow = findShadow(blocks);
    const int scale = std::max(1, side / blocks.shape.width);
    // Above the brightest block, so that the steps between AFEs show.
    const double white = 1.1 * *std::max_element(blocks.pixels.begin(), blocks.pixels.end());
    const Shape picture{blocks.shape.width * scale, blocks.shape.height * scale};
    const RawImage enlarged = fit(truncatedCounts(blocks), wholeOf(blocks.shape), picture);
    const std::string verdict =
        "status " + std::to_string(StatusUniformityUnqualified) + ": " + std::to_string(shadow.size) + " blocks";
    return {makePreview(enlarged, GreyWindow{0.0, white}, picture.width), "shutter half open, blocks", verdict,
            kTileNotPassed, outline(shadow, blocks.shape, scale)};
}

}  // namespace qx::tool
