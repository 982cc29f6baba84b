#include "demo/FlowPictures.h"

#include <QxUtils.h>

#include <algorithm>
#include <utility>

namespace qx::tool {
namespace {

// Wide enough for the steps between AFEs and the fall of light towards the corners.
constexpr double kBalanceContrast = 0.12;

constexpr double kPixelSide = 0.5;

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
std::vector<Stroke> outline(const std::vector<unsigned char>& shadow, const Shape& blocks, double side) {
    const auto isInside = [&](int row, int column) {
        return row >= 0 && row < blocks.height && column >= 0 && column < blocks.width &&
               shadow[static_cast<std::size_t>(row * blocks.width + column)] != 0;
    };
    std::vector<Stroke> lines;
    for (int row = 0; row <= blocks.height; ++row) {
        for (int column = 0; column <= blocks.width; ++column) {
            const Place corner{column * side, row * side};
            if (isInside(row, column) != isInside(row - 1, column))
                lines.push_back({{corner, {corner.x + side, corner.y}}, {kMarked, 2.0}});
            if (isInside(row, column) != isInside(row, column - 1))
                lines.push_back({{corner, {corner.x, corner.y + side}}, {kMarked, 2.0}});
        }
    }
    return lines;
}

}  // namespace

std::vector<Tile> drawBalance(const CalibrationFlow& flow, double side) {
    FloatImage image = subtractDark(flow.flat, flow.dark);
    const RawImage before = truncatedCounts(image);
    correctRDwithoutRgain(image.pixels.data(), image.shape.width, image.shape.height);
    const GreyWindow window = windowAroundMedian(before, kBalanceContrast);
    const auto tile = [&](const RawImage& shown, const char* caption, const char* line) {
        GreyPicture picture = makePreview(shown, window, static_cast<int>(side / kPixelSide));
        return Tile{std::move(picture),
                    kPixelSide,
                    scaleOf(window),
                    caption,
                    {{line}, {"specks, lines: defective pixels and rows"}}};
    };
    return {tile(before, "before the AFE balance", "dark image subtracted"),
            tile(truncatedCounts(image), "after the AFE balance", "AFEs at one level")};
}

Tile drawShadow(const CalibrationFlow& flow, double side) {
    const FloatImage blocks = blockMedians(subtractDark(flow.collimated, flow.dark));
    const std::vector<unsigned char> shadow = findShadow(flow.collimated, flow.dark, blocks.shape);
    const auto size = std::count(shadow.begin(), shadow.end(), 1);
    // Above the brightest block, so that the steps between AFEs show.
    const GreyWindow window{0.0, 1.1 * *std::max_element(blocks.pixels.begin(), blocks.pixels.end())};
    const double blockSide = side / blocks.shape.width;
    return {
        makePreview(truncatedCounts(blocks), window, blocks.shape.width),
        blockSide,
        scaleOf(window),
        "shutter half open, block medians",
        {{"status " + std::to_string(StatusUniformityUnqualified) + ": " + std::to_string(size) + " blocks in a shadow",
          kNotPassed},
         {"outlined: the shadow that was found"}},
        outline(shadow, blocks.shape, blockSide)};
}

}  // namespace qx::tool
