#include "picture/Canvas.h"

#include <stb/stb_easy_font.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace qx::tool {
namespace {

// One corner of a rectangle as the font library writes it.
struct FontVertex {
    float x;
    float y;
    float z;
    std::uint8_t colour[4];
};
static_assert(sizeof(FontVertex) == 16);

constexpr std::size_t kVerticesPerQuad = 4;
constexpr std::size_t kMaxQuadsPerCharacter = 32;

std::vector<FontVertex> layOutText(std::string text) {
    std::vector<FontVertex> vertices(text.size() * kMaxQuadsPerCharacter * kVerticesPerQuad);
    const int quads = stb_easy_font_print(0, 0, text.data(), nullptr, vertices.data(),
                                          static_cast<int>(vertices.size() * sizeof(FontVertex)));
    vertices.resize(static_cast<std::size_t>(quads) * kVerticesPerQuad);
    return vertices;
}

}  // namespace

Canvas::Canvas(const Shape& shape, Colour background)
    : shape_(shape), pixels_(static_cast<std::size_t>(shape.pixelCount()), background) {}

void Canvas::fillRectangle(Point corner, int width, int height, Colour colour) {
    const int firstColumn = std::clamp(corner.x, 0, shape_.width);
    const int endColumn = std::clamp(corner.x + width, firstColumn, shape_.width);
    for (int row = std::max(0, corner.y); row < std::min(corner.y + height, shape_.height); ++row) {
        const auto line = pixels_.begin() + std::ptrdiff_t{row} * shape_.width;
        std::fill(line + firstColumn, line + endColumn, colour);
    }
}

void Canvas::outlineRectangle(Point corner, int width, int height, int thickness, Colour colour) {
    fillRectangle(corner, width, thickness, colour);
    fillRectangle({corner.x, corner.y + height - thickness}, width, thickness, colour);
    fillRectangle(corner, thickness, height, colour);
    fillRectangle({corner.x + width - thickness, corner.y}, thickness, height, colour);
}

void Canvas::drawLine(Point from, Point to, int thickness, Colour colour) {
    const int steps = std::max({1, std::abs(to.x - from.x), std::abs(to.y - from.y)});
    for (int step = 0; step <= steps; ++step) {
        const double share = static_cast<double>(step) / steps;
        const int x = static_cast<int>(std::lround(from.x + share * (to.x - from.x)));
        const int y = static_cast<int>(std::lround(from.y + share * (to.y - from.y)));
        fillRectangle({x - thickness / 2, y - thickness / 2}, thickness, thickness, colour);
    }
}

void Canvas::drawDot(Point centre, int radius, Colour colour) {
    for (int dy = -radius; dy <= radius; ++dy) {
        const int halfWidth = static_cast<int>(std::sqrt(static_cast<double>(radius * radius - dy * dy)));
        fillRectangle({centre.x - halfWidth, centre.y + dy}, 2 * halfWidth + 1, 1, colour);
    }
}

void Canvas::drawPicture(Point corner, const GreyPicture& picture) {
    const std::uint8_t* shade = picture.pixels.data();
    for (int row = 0; row < picture.shape.height; ++row) {
        for (int column = 0; column < picture.shape.width; ++column, ++shade)
            fillRectangle({corner.x + column, corner.y + row}, 1, 1, {*shade, *shade, *shade});
    }
}

void Canvas::drawText(Point corner, const std::string& text, int scale, Colour colour) {
    const std::vector<FontVertex> vertices = layOutText(text);
    for (std::size_t quad = 0; quad < vertices.size(); quad += kVerticesPerQuad) {
        const FontVertex& first = vertices[quad];
        const FontVertex& opposite = vertices[quad + 2];
        const Point quadCorner{corner.x + scale * static_cast<int>(first.x),
                               corner.y + scale * static_cast<int>(first.y)};
        fillRectangle(quadCorner, scale * static_cast<int>(opposite.x - first.x),
                      scale * static_cast<int>(opposite.y - first.y), colour);
    }
}

int textWidth(const std::string& text, int scale) {
    return scale * stb_easy_font_width(std::string(text).data());
}

}  // namespace qx::tool
