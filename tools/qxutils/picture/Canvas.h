#pragma once

#include "common/Shape.h"
#include "picture/Preview.h"

#include <cstdint>
#include <string>
#include <vector>

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

    const Shape& shape() const { return shape_; }
    const Colour* pixels() const { return pixels_.data(); }

    void fillRectangle(Point corner, int width, int height, Colour colour);
    void outlineRectangle(Point corner, int width, int height, int thickness, Colour colour);
    void drawLine(Point from, Point to, int thickness, Colour colour);
    void drawDot(Point centre, int radius, Colour colour);
    void drawPicture(Point corner, const GreyPicture& picture);

    // Text whose top left corner is given; scale is the size of a font pixel.
    void drawText(Point corner, const std::string& text, int scale, Colour colour);

private:
    Shape shape_;
    std::vector<Colour> pixels_;
};

// Extent of a text in pixels.
int textWidth(const std::string& text, int scale);
inline constexpr int kTextHeight = 9;  // at scale 1

}  // namespace qx::tool
