#include "demo/FlowPictures.h"

#include "image/Region.h"

#include <QxUtils.h>

#include <algorithm>

namespace qx::tool {
namespace {

// Wide enough for the steps between AFEs and the fall of light towards the corners.
constexpr double kBalanceContrast = 0.12;

// The difference of the two, 0 where the dark image is brighter.
FloatImage subtractDark(const RawImage& image, const RawImage& dark) {
    FloatImage difference{image.shape, std::vector<float>(image.pixels.size())};
    subtractImage(difference.pixels.data(), image.pixels.data(), dark.pixels.data(),
                  static_cast<int>(image.pixels.size()));
    for (float& value : difference.pixels)
        value = std::max(value, 0.0f);
    return difference;
}

// The medians of the blocks of 32 x 32 pixels.
FloatImage blockMedians(const FloatImage& image) {
    constexpr int kBlockSide = 32;
    FloatImage blocks{{image.shape.width / kBlockSide, image.shape.height / kBlockSide}, {}};
    blocks.pixels.resize(static_cast<std::size_t>(blocks.shape.pixelCount()));
    doBinningSample(blocks.pixels.data(), image.pixels.data(), image.shape.width, image.shape.height);
    return blocks;
}

// The blocks inside the shadow that the first-image check finds are not 0.
std::vector<unsigned char> findShadow(const RawImage& image, const RawImage& dark, const Shape& blocks) {
    std::vector<unsigned char> inside(static_cast<std::size_t>(blocks.pixelCount()));
    locateShadow(image.pixels.data(), dark.pixels.data(), image.shape.width, image.shape.height, inside.data(),
                 static_cast<int>(inside.size()));
    return inside;
}

// The edges of the blocks at which the region ends.
std::vector<Line> outline(const std::vector<unsigned char>& shadow, const Shape& blocks, int scale) {
    const auto isInside = [&](int row, int column) {
        return row >= 0 && row < blocks.height && column >= 0 && column < blocks.width &&
               shadow[static_cast<std::size_t>(row * blocks.width + column)] != 0;
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
    const std::vector<unsigned char> shadow = findShadow(flow.collimated, flow.dark, blocks.shape);
    const auto size = std::count(shadow.begin(), shadow.end(), 1);
    const int scale = std::max(1, side / blocks.shape.width);
    // Above the brightest block, so that the steps between AFEs show.
    const double white = 1.1 * *std::max_element(blocks.pixels.begin(), blocks.pixels.end());
    const Shape picture{blocks.shape.width * scale, blocks.shape.height * scale};
    const RawImage enlarged = fit(truncatedCounts(blocks), wholeOf(blocks.shape), picture);
    const std::string verdict =
        "status " + std::to_string(StatusUniformityUnqualified) + ": " + std::to_string(size) + " blocks";
    return {makePreview(enlarged, GreyWindow{0.0, white}, picture.width), "shutter half open, blocks", verdict,
            kTileNotPassed, outline(shadow, blocks.shape, scale)};
}

}  // namespace qx::tool
