#pragma once

#include "picture/Preview.h"

#include <cstdint>
#include <string>

// Drawing in colour: rectangles, lines, dots, grey pictures and text.

namespace qx::tool {

struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
};

// A colour picture to draw on. Whatever lies outside it is cut off.
class Canvas {
public:
    Canvas(const Shape& shape, Colour background);

    const Image<Colour>& image() const { return image_; }

    void fillRectangle(Point corner, const Shape& shape, Colour colour);
    void outlineRectangle(Point corner, const Shape& shape, int thickness, Colour colour);
    void drawLine(Point from, Point to, int thickness, Colour colour);
    void drawDot(Point centre, int radius, Colour colour);
    void drawPicture(Point corner, const GreyPicture& picture);

    // Text whose top left corner is given; scale is the size of a font pixel.
    void drawText(Point corner, const std::string& text, int scale, Colour colour);

private:
    Image<Colour> image_;
};

// Extent of a text in pixels.
int textWidth(const std::string& text, int scale);
inline constexpr int kTextHeight = 9;  // at scale 1

}  // namespace qx::tool
