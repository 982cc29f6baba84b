#pragma once

#include "picture/Canvas.h"
#include "picture/Preview.h"

#include <string>
#include <vector>

// Pictures side by side, each with a text below, and the look that all drawings share.

namespace qx::tool {

inline constexpr Colour kTilePaper{24, 26, 30};
inline constexpr Colour kTileText{235, 235, 235};
inline constexpr Colour kTilePassed{110, 205, 120};
inline constexpr Colour kTileNotPassed{245, 105, 90};
inline constexpr Colour kTileMark{255, 190, 60};
inline constexpr int kTileTextScale = 2;
inline constexpr int kTileGap = 16;                                             // pixels around a tile
inline constexpr int kTileTextHeight = 3 * (kTextHeight + 4) * kTileTextScale;  // of the two lines below it

struct Line {
    Point from;
    Point to;
};

// A picture with two lines of text below, and marks on it.
struct Tile {
    GreyPicture picture;
    std::string caption;
    std::string verdict;
    Colour verdictColour;
    std::vector<Line> marks{};
};

// The two lines below a tile, whose lower left corner is given.
void drawTileText(Canvas& canvas, Point corner, const std::string& caption, const std::string& verdict, Colour colour);

// Pictures of one size, a few side by side in each row.
Canvas drawTiles(const std::vector<Tile>& tiles, int columns);

}  // namespace qx::tool
