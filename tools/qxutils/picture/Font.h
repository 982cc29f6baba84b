#pragma once

#include "image/Image.h"

#include <cstdint>
#include <string>
#include <vector>

// The font of drawings, which is part of the program, and areas rasterised by the same library.

namespace qx::tool {

// Width of a UTF-8 text of a font size, in the unit of the size.
double textWidth(const std::string& text, double size, bool isBold = false);

// How much of each pixel is covered, 0 to 255, of a part of a picture.
struct Coverage {
    Point corner;
    Image<std::uint8_t> covered;
};

// A text that stands on row 0 and begins at this column, whole or not.
Coverage coverText(const std::string& text, double size, bool isBold, double column);

// A corner of a contour, in pixels.
struct Corner {
    double x;
    double y;
};

// The union of closed contours that all run the same way round. Only what lies within the picture is looked at.
Coverage coverContours(const std::vector<std::vector<Corner>>& contours, const Shape& picture);

}  // namespace qx::tool
