#include "picture/Tiles.h"

namespace qx::tool {
namespace {

constexpr int kMarkThickness = 2;

void drawTile(Canvas& canvas, Point corner, const Tile& tile) {
    canvas.drawPicture(corner, tile.picture);
    for (const auto& [from, to] : tile.marks) {
        canvas.drawLine({corner.x + from.x, corner.y + from.y}, {corner.x + to.x, corner.y + to.y}, kMarkThickness,
                        kTileMark);
    }
    drawTileText(canvas, {corner.x, corner.y + tile.picture.shape.height}, tile.caption, tile.verdict,
                 tile.verdictColour);
}

}  // namespace

void drawTileText(Canvas& canvas, Point corner, const std::string& caption, const std::string& verdict, Colour colour) {
    const int captionRow = corner.y + 8;
    canvas.drawText({corner.x, captionRow}, caption, kTileTextScale, kTileText);
    canvas.drawText({corner.x, captionRow + (kTextHeight + 3) * kTileTextScale}, verdict, kTileTextScale, colour);
}

Canvas drawTiles(const std::vector<Tile>& tiles, int columns) {
    const Shape picture = tiles.front().picture.shape;
    const int count = static_cast<int>(tiles.size());
    const int rows = (count + columns - 1) / columns;
    const Shape step{picture.width + kTileGap, picture.height + kTileTextHeight};
    Canvas canvas({columns * step.width + kTileGap, rows * step.height + kTileGap}, kTilePaper);
    int index = 0;
    for (const Tile& tile : tiles) {
        drawTile(canvas, {kTileGap + index % columns * step.width, kTileGap + index / columns * step.height}, tile);
        ++index;
    }
    return canvas;
}

}  // namespace qx::tool
