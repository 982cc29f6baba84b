#include "picture/Drawing.h"
#include "picture/Font.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qx::tool {
namespace {

using Contour = std::vector<Corner>;

std::uint8_t blend(std::uint8_t below, std::uint8_t above, int covered) {
    return static_cast<std::uint8_t>((below * (255 - covered) + above * covered + 127) / 255);
}

Contour roundContour(const Corner& centre, double radius) {
    // The corners lie within a twentieth of a pixel of the circle.
    const int corners = std::max(12, static_cast<int>(std::ceil(10.0 * std::sqrt(radius))));
    Contour contour;
    for (int corner = 0; corner < corners; ++corner) {
        const double angle = 2.0 * std::numbers::pi * corner / corners;
        contour.push_back({centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)});
    }
    return contour;
}

// A straight piece of a line; all of them run the same way round, as the round contours do.
Contour barContour(const Corner& from, const Corner& to, double width) {
    const double length = std::hypot(to.x - from.x, to.y - from.y);
    const double dx = (to.x - from.x) / length * width / 2.0;
    const double dy = (to.y - from.y) / length * width / 2.0;
    return {{from.x + dy, from.y - dx}, {to.x + dy, to.y - dx}, {to.x - dy, to.y + dx}, {from.x - dy, from.y + dx}};
}

double distance(const Corner& from, const Corner& to) {
    return std::hypot(to.x - from.x, to.y - from.y);
}

// The pieces of a line that its dashes leave.
std::vector<Contour> dashes(const Contour& line, double dash) {
    std::vector<Contour> pieces;
    double left = dash;
    bool isDrawn = true;
    Contour piece = {line.front()};
    for (std::size_t i = 1; i < line.size(); ++i) {
        Corner here = line[i - 1];
        for (double ahead = distance(here, line[i]); ahead > left; ahead = distance(here, line[i])) {
            here = {here.x + (line[i].x - here.x) * left / ahead, here.y + (line[i].y - here.y) * left / ahead};
            piece.push_back(here);
            if (isDrawn)
                pieces.push_back(piece);
            piece = {here};
            isDrawn = !isDrawn;
            left = dash;
        }
        left -= distance(here, line[i]);
        piece.push_back(line[i]);
    }
    if (isDrawn)
        pieces.push_back(piece);
    return pieces;
}

// Draws marks in the order in which they come.
class Renderer {
public:
    Renderer(const Drawing& drawing, int scale)
        : scale_(scale), image_(filledImage({sideOf(drawing.width()), sideOf(drawing.height())}, drawing.paper())) {}

    void operator()(const Area& area) { fill({cornersOf(area.corners)}, area.colour); }

    void operator()(const Stroke& stroke) {
        const Contour line = cornersOf(stroke.places);
        const double width = stroke.pen.width * scale_;
        const double dash = stroke.pen.dash * scale_;
        std::vector<Contour> contours;
        for (const Contour& piece : dash > 0.0 ? dashes(line, dash) : std::vector<Contour>{line}) {
            for (std::size_t i = 1; i < piece.size(); ++i) {
                if (distance(piece[i - 1], piece[i]) > 0.0)
                    contours.push_back(barContour(piece[i - 1], piece[i], width));
                if (i + 1 < piece.size())
                    contours.push_back(roundContour(piece[i], width / 2.0));
            }
        }
        fill(contours, stroke.pen.colour);
    }

    void operator()(const Dot& dot) { fill({roundContour(cornerOf(dot.centre), dot.radius * scale_)}, dot.colour); }

    void operator()(const Text& text) {
        const TextStyle& style = text.style;
        const double size = style.size * scale_;
        const double width = textWidth(text.text, size, style.isBold);
        const double back = style.anchor == Anchor::Start ? 0.0 : style.anchor == Anchor::End ? width : width / 2.0;
        const auto [x, y] = cornerOf(text.place);
        // Letters are sharp when they stand on the edge of a pixel.
        if (style.isUpright) {
            paintUpright(coverText(text.text, size, style.isBold, -y - back), static_cast<int>(std::lround(x)),
                         style.colour);
            return;
        }
        Coverage coverage = coverText(text.text, size, style.isBold, x - back);
        coverage.corner.y += static_cast<int>(std::lround(y));
        paint(coverage, style.colour);
    }

    void operator()(const PlacedPicture& placed) {
        const auto [left, top] = cornerOf(placed.corner);
        const double side = placed.side * scale_;
        const auto firstColumn = static_cast<int>(std::lround(left));
        const auto firstRow = static_cast<int>(std::lround(top));
        const auto extent = [side](int pixels) { return static_cast<int>(std::lround(pixels * side)); };
        const Shape& shape = placed.picture.shape;
        for (int row = 0; row < extent(shape.height); ++row) {
            for (int column = 0; column < extent(shape.width); ++column) {
                const auto nearest = [side](int pixel, int count) {
                    return std::min(count - 1, static_cast<int>((pixel + 0.5) / side));
                };
                const std::uint8_t shade = placed.picture.at(nearest(row, shape.height), nearest(column, shape.width));
                mix(firstRow + row, firstColumn + column, {shade, shade, shade}, 255);
            }
        }
    }

    Image<Colour> take() { return std::move(image_); }

private:
    int sideOf(double length) const { return std::max(1, static_cast<int>(std::ceil(length * scale_))); }
    Corner cornerOf(const Place& place) const { return {place.x * scale_, place.y * scale_}; }

    Contour cornersOf(const std::vector<Place>& places) const {
        Contour corners;
        for (const Place& place : places)
            corners.push_back(cornerOf(place));
        return corners;
    }

    void mix(int row, int column, Colour colour, int covered) {
        if (row < 0 || row >= image_.shape.height || column < 0 || column >= image_.shape.width)
            return;
        Colour& pixel = image_.at(row, column);
        pixel = {blend(pixel.red, colour.red, covered), blend(pixel.green, colour.green, covered),
                 blend(pixel.blue, colour.blue, covered)};
    }

    void fill(const std::vector<Contour>& contours, Colour colour) {
        paint(coverContours(contours, image_.shape), colour);
    }

    void paint(const Coverage& coverage, Colour colour) {
        const auto& [corner, covered] = coverage;
        for (int row = 0; row < covered.shape.height; ++row) {
            for (int column = 0; column < covered.shape.width; ++column)
                mix(corner.y + row, corner.x + column, colour, covered.at(row, column));
        }
    }

    // The text's columns go up, and its rows to the right of this column.
    void paintUpright(const Coverage& coverage, int standing, Colour colour) {
        const auto& [corner, covered] = coverage;
        for (int row = 0; row < covered.shape.height; ++row) {
            for (int column = 0; column < covered.shape.width; ++column)
                mix(-(corner.x + column) - 1, standing + corner.y + row, colour, covered.at(row, column));
        }
    }

    int scale_;
    Image<Colour> image_;
};

}  // namespace

Image<Colour> renderPixels(const Drawing& drawing, int scale) {
    Renderer renderer(drawing, scale);
    for (const Mark& mark : drawing.marks())
        std::visit(renderer, mark);
    return renderer.take();
}

}  // namespace qx::tool
