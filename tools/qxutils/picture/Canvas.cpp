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

Canvas::Canvas(const Shape& shape, Colour background) : image_(filledImage(shape, background)) {}

void Canvas::fillRectangle(Point corner, const Shape& shape, Colour colour) {
    const int firstColumn = std::clamp(corner.x, 0, image_.shape.width);
    const int endColumn = std::clamp(corner.x + shape.width, firstColumn, image_.shape.width);
    const int endRow = std::min(corner.y + shape.height, image_.shape.height);
    for (int row = std::max(0, corner.y); row < endRow; ++row)
        std::fill(image_.row(row) + firstColumn, image_.row(row) + endColumn, colour);
}

void Canvas::outlineRectangle(Point corner, const Shape& shape, int thickness, Colour colour) {
    const Shape across{shape.width, thickness};
    const Shape down{thickness, shape.height};
    fillRectangle(corner, across, colour);
    fillRectangle({corner.x, corner.y + shape.height - thickness}, across, colour);
    fillRectangle(corner, down, colour);
    fillRectangle({corner.x + shape.width - thickness, corner.y}, down, colour);
}

void Canvas::drawLine(Point from, Point to, int thickness, Colour colour) {
    const int steps = std::max({1, std::abs(to.x - from.x), std::abs(to.y - from.y)});
    for (int step = 0; step <= steps; ++step) {
        const double share = static_cast<double>(step) / steps;
        const auto between = [share](int first, int last) {
            return static_cast<int>(std::lround(first + share * (last - first)));
        };
        const Point corner{between(from.x, to.x) - thickness / 2, between(from.y, to.y) - thickness / 2};
        fillRectangle(corner, {thickness, thickness}, colour);
    }
}

void Canvas::drawDot(Point centre, int radius, Colour colour) {
    for (int dy = -radius; dy <= radius; ++dy) {
        const int halfWidth = static_cast<int>(std::sqrt(radius * radius - dy * dy));
        fillRectangle({centre.x - halfWidth, centre.y + dy}, {2 * halfWidth + 1, 1}, colour);
    }
}

void Canvas::drawPicture(Point corner, const GreyPicture& picture) {
    for (int row = 0; row < picture.shape.height; ++row) {
        for (int column = 0; column < picture.shape.width; ++column) {
            const std::uint8_t shade = picture.at(row, column);
            fillRectangle({corner.x + column, corner.y + row}, {1, 1}, {shade, shade, shade});
        }
    }
}

void Canvas::drawText(Point corner, const std::string& text, int scale, Colour colour) {
    const std::vector<FontVertex> vertices = layOutText(text);
    for (std::size_t quad = 0; quad < vertices.size(); quad += kVerticesPerQuad) {
        const FontVertex& first = vertices[quad];
        const FontVertex& opposite = vertices[quad + 2];
        const auto scaled = [scale](float fontPixels) { return scale * static_cast<int>(fontPixels); };
        fillRectangle({corner.x + scaled(first.x), corner.y + scaled(first.y)},
                      {scaled(opposite.x - first.x), scaled(opposite.y - first.y)}, colour);
    }
}

int textWidth(const std::string& text, int scale) {
    return scale * stb_easy_font_width(std::string(text).data());
}

}  // namespace qx::tool
