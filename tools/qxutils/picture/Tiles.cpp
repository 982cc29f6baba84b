#include "picture/Tiles.h"

namespace qx::tool {
namespace {

constexpr int kGap = 16;
constexpr int kCaptionHeight = 3 * (kTextHeight + 4) * kTileTextScale;
constexpr int kMarkThickness = 2;

void drawTile(Canvas& canvas, Point corner, const Tile& tile) {
    canvas.drawPicture(corner, tile.picture);
    for (const auto& [from, to] : tile.marks) {
        canvas.drawLine({corner.x + from.x, corner.y + from.y}, {corner.x + to.x, corner.y + to.y}, kMarkThickness,
                        kTileMark);
    }
    const int captionRow = corner.y + tile.picture.shape.height + 8;
    canvas.drawText({corner.x, captionRow}, tile.caption, kTileTextScale, kTileText);
    canvas.drawText({corner.x, captionRow + (kTextHeight + 3) * kTileTextScale}, tile.verdict, kTileTextScale,
                    tile.verdictColour);
}

}  // namespace

Canvas drawTiles(const std::vector<Tile>& tiles, int columns) {
    const Shape picture = tiles.front().picture.shape;
    const int rows = (static_cast<int>(tiles.size()) + columns - 1) / columns;
    const Shape step{picture.width + kGap, picture.height + kCaptionHeight};
    Canvas canvas({columns * step.width + kGap, rows * step.height + kGap}, kTilePaper);
    for (int index = 0; index < static_cast<int>(tiles.size()); ++index) {
        const Point corner{kGap + index % columns * step.width, kGap + index / columns * step.height};
        drawTile(canvas, corner, tiles[static_cast<std::size_t>(index)]);
    }
    return canvas;
}

}  // namespace qx::tool
