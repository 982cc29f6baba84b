#include "picture/Tiles.h"

#include "picture/Font.h"
#include "text/TextTable.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace qx::tool {
namespace {

constexpr double kLineHeight = 1.35 * kTextSize;
constexpr double kInsetMargin = 8.0;
constexpr double kTitleHeight = kTitleSize + kGap;

std::string blackText(const GreyScale& scale) {
    return "black " + scale.black;
}

std::string whiteText(const GreyScale& scale) {
    return "white " + scale.white + (scale.unit.empty() ? "" : " ") + scale.unit;
}

// What the widest of a tile's parts needs.
double widthOf(const Tile& tile) {
    double width = std::max({tile.width(), greyScaleWidth(tile.scale), textWidth(tile.caption, kTextSize, true)});
    for (const TileLine& line : tile.lines)
        width = std::max(width, textWidth(line.text, kTextSize));
    return width;
}

void drawInset(Drawing& drawing, const Box& tile, const Inset& inset) {
    const auto& [picture, side, shown] = inset;
    const double width = picture.shape.width * side;
    const Box enlarged{tile.right() - kInsetMargin - width, tile.y + kInsetMargin, width, picture.shape.height * side};
    const Box part = Box{tile.x + shown.x, tile.y + shown.y, shown.width, shown.height}.grownBy(1.0);
    const Pen pen{kMarked, 1.5};
    drawing.drawLine({{part.x, part.y}, {enlarged.x, enlarged.bottom()}}, pen);
    drawing.drawLine({{part.right(), part.y}, {enlarged.right(), enlarged.bottom()}}, pen);
    drawing.outlineBox(part, pen);
    drawing.drawPicture({enlarged.x, enlarged.y}, picture, side);
    drawing.outlineBox(enlarged, pen);
}

void drawTile(Drawing& drawing, Place corner, const Tile& tile) {
    const Box box{corner.x, corner.y, tile.width(), tile.height()};
    drawing.drawPicture(corner, tile.picture, tile.side);
    drawing.outlineBox(box, {kFaintInk, 0.5});
    for (Stroke mark : tile.marks) {
        for (Place& place : mark.places)
            place = {place.x + corner.x, place.y + corner.y};
        drawing.drawLine(std::move(mark.places), mark.pen);
    }
    if (tile.inset)
        drawInset(drawing, box, *tile.inset);
    drawGreyScale(drawing, {box.x, box.bottom() + 4.0}, box.width, tile.scale);
    double foot = box.bottom() + 4.0 + kGreyScaleHeight + kLineHeight;
    drawing.drawText({box.x, foot}, tile.caption, {kInk, kTextSize, Anchor::Start, true});
    for (const auto& [text, colour] : tile.lines)
        drawing.drawText({box.x, foot += kLineHeight}, text, {colour, kTextSize});
}

}  // namespace

GreyScale scaleOf(const GreyWindow& window) {
    return {formatNumber(window.black, 0), formatNumber(window.white, 0)};
}

double greyScaleWidth(const GreyScale& scale) {
    return textWidth(blackText(scale), kSmallText) + kSmallText + textWidth(whiteText(scale), kSmallText);
}

void drawGreyScale(Drawing& drawing, Place corner, double width, const GreyScale& scale) {
    constexpr int kHeight = 8;
    GreyPicture bar{{static_cast<int>(std::ceil(std::max(width, greyScaleWidth(scale)))), kHeight}, {}};
    for (int row = 0; row < kHeight; ++row) {
        for (int column = 0; column < bar.shape.width; ++column)
            bar.pixels.push_back(static_cast<std::uint8_t>(255 * column / std::max(1, bar.shape.width - 1)));
    }
    const Box box{corner.x, corner.y, static_cast<double>(bar.shape.width), kHeight};
    drawing.drawPicture(corner, std::move(bar), 1.0);
    drawing.outlineBox(box, {kFaintInk, 0.5});
    const double foot = box.bottom() + 1.1 * kSmallText;
    drawing.drawText({box.x, foot}, blackText(scale), {kInk, kSmallText});
    drawing.drawText({box.right(), foot}, whiteText(scale), {kInk, kSmallText, Anchor::End});
}

Drawing drawTiles(const std::vector<Tile>& tiles, int columns, const std::string& title) {
    std::size_t lines = 0;
    double widest = 0.0;
    for (const Tile& tile : tiles) {
        lines = std::max(lines, tile.lines.size());
        widest = std::max(widest, widthOf(tile));
    }
    const Tile& first = tiles.front();
    const int count = static_cast<int>(tiles.size());
    const int rows = (count + columns - 1) / columns;
    const double top = kGap + (title.empty() ? 0.0 : kTitleHeight);
    const double across = widest + kGap;
    const double down =
        first.height() + 4.0 + kGreyScaleHeight + static_cast<double>(lines + 1) * kLineHeight + 1.5 * kGap;
    const double titleWidth = textWidth(title, kTitleSize, true) + kGap;
    Drawing drawing(std::max(std::min(count, columns) * across, titleWidth) + kGap, top + rows * down, kPaper);
    if (!title.empty())
        drawing.drawText({kGap, kGap + kTextSize}, title, {kInk, kTitleSize, Anchor::Start, true});
    for (int index = 0; index < count; ++index)
        drawTile(drawing, {kGap + index % columns * across, top + index / columns * down},
                 tiles[static_cast<std::size_t>(index)]);
    return drawing;
}

Drawing drawPreview(Preview preview, const std::string& caption) {
    return drawTiles({{std::move(preview.picture), 0.5, scaleOf(preview.window), caption, {}}}, 1);
}

}  // namespace qx::tool
