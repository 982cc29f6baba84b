#pragma once

#include "picture/Preview.h"

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// Drawings in colour: areas, lines, dots, grey pictures and text, which become an SVG or a PNG.

namespace qx::tool {

struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;

    bool operator==(const Colour&) const = default;
};

// A place in a drawing, in logical pixels from its top left corner.
struct Place {
    double x = 0.0;
    double y = 0.0;
};

// A rectangle of a drawing, in logical pixels.
struct Box {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;

    double right() const { return x + width; }
    double bottom() const { return y + height; }
    Box grownBy(double margin) const { return {x - margin, y - margin, width + 2.0 * margin, height + 2.0 * margin}; }
};

struct Pen {
    Colour colour;
    double width = 1.0;
    double dash = 0.0;  // length of a dash and of the gap behind it; 0 for a whole line
};

// The place of a text is that of its start, middle or end on the line it stands on.
enum class Anchor { Start, Middle, End };

struct TextStyle {
    Colour colour;
    double size = 14.0;
    Anchor anchor = Anchor::Start;
    bool isBold = false;
    bool isUpright = false;  // reads from bottom to top
};

struct Area {
    std::vector<Place> corners;
    Colour colour;
};

struct Stroke {
    std::vector<Place> places;
    Pen pen;
};

struct Dot {
    Place centre;
    double radius;
    Colour colour;
};

struct Text {
    Place place;
    std::string text;
    TextStyle style;
};

// A picture whose pixels are squares with this side.
struct PlacedPicture {
    Place corner;
    GreyPicture picture;
    double side;
};

using Mark = std::variant<Area, Stroke, Dot, Text, PlacedPicture>;

// What was drawn, in this order: later marks cover earlier ones. Whatever lies outside is cut off.
class Drawing {
public:
    // The size in logical pixels becomes a whole one; the paper has one colour.
    Drawing(double width, double height, Colour paper)
        : width_(std::ceil(width)), height_(std::ceil(height)), paper_(paper) {}

    double width() const { return width_; }
    double height() const { return height_; }
    Colour paper() const { return paper_; }
    const std::vector<Mark>& marks() const { return marks_; }

    void add(Mark mark) { marks_.push_back(std::move(mark)); }
    void fillBox(const Box& box, Colour colour);
    void outlineBox(const Box& box, const Pen& pen);  // the line's middle runs along the box
    void fillArea(std::vector<Place> corners, Colour colour) { marks_.push_back(Area{std::move(corners), colour}); }
    void drawLine(std::vector<Place> places, const Pen& pen) { marks_.push_back(Stroke{std::move(places), pen}); }
    void drawDot(Place centre, double radius, Colour colour) { marks_.push_back(Dot{centre, radius, colour}); }
    void drawRing(Place centre, double radius, const Pen& pen);

    // UTF-8.
    void drawText(Place place, const std::string& text, const TextStyle& style) {
        if (!text.empty())
            marks_.push_back(Text{place, text, style});
    }

    // side: of a picture's pixel, in logical pixels.
    void drawPicture(Place corner, GreyPicture picture, double side) {
        marks_.push_back(PlacedPicture{corner, std::move(picture), side});
    }

private:
    double width_;
    double height_;
    Colour paper_;
    std::vector<Mark> marks_;
};

// Standalone SVG. Pictures are within it, text stays text.
std::string toSvg(const Drawing& drawing);

// The drawing in pixels, as many for each side of a logical one. The same on every machine.
Image<Colour> renderPixels(const Drawing& drawing, int scale);

}  // namespace qx::tool
