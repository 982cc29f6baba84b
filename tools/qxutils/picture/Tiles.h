#pragma once

#include "picture/Drawing.h"
#include "picture/Look.h"
#include "picture/Preview.h"

#include <optional>
#include <string>
#include <vector>

// Pictures side by side, each with the counts of its black and white and a text below.

namespace qx::tool {

// What black and white stand for.
struct GreyScale {
    std::string black;
    std::string white;
    std::string unit = "counts";
};
GreyScale scaleOf(const GreyWindow& window);

struct TileLine {
    std::string text;
    Colour colour = kInk;
};

// Part of the image, enlarged in the tile's upper right corner.
struct Inset {
    GreyPicture picture;
    double side;  // of its pixels, in logical pixels
    Box shown;    // what it shows, in logical pixels of the tile
};

// A picture with a bold caption and lines of text below, and marks on it in logical pixels from its corner.
struct Tile {
    GreyPicture picture;
    double side;  // of the picture's pixels, in logical pixels
    GreyScale scale;
    std::string caption;
    std::vector<TileLine> lines;
    std::vector<Stroke> marks{};
    std::optional<Inset> inset{};

    double width() const { return picture.shape.width * side; }
    double height() const { return picture.shape.height * side; }
};

// A bar of greys with what its ends stand for: as wide as its text at least. And the height that it takes.
void drawGreyScale(Drawing& drawing, Place corner, double width, const GreyScale& scale);
double greyScaleWidth(const GreyScale& scale);
inline constexpr double kGreyScaleHeight = 30.0;

// Pictures of one size, a few side by side in each row, below a title that may be left out.
Drawing drawTiles(const std::vector<Tile>& tiles, int columns, const std::string& title = {});

// One alone, its pixels those of the PNG.
Drawing drawPreview(Preview preview, const std::string& caption);

}  // namespace qx::tool
