#include "picture/Font.h"

#include "embedded/FontBold.h"
#include "embedded/FontRegular.h"
#include "picture/Allocated.h"

// Contours are given in parts of a pixel, which the font library's own short integers do not hold for a large picture.
// It takes another type of vertex with these names of its members.
struct ContourVertex {
    int x, y, cx, cy, cx1, cy1;
    unsigned char type, padding;
};
#define stbtt_vertex ContourVertex
#define stbtt_vertex_type int
#define STBTT_malloc(size, user) (static_cast<void>(user), qx::tool::allocated(std::malloc(size)))
#define STBTT_free(memory, user) (static_cast<void>(user), std::free(memory))
#define STBTT_STATIC
#define STB_TRUETYPE_IMPLEMENTATION
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#include <stb/stb_truetype.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

#include <algorithm>
#include <cmath>
#include <string_view>

namespace qx::tool {
namespace {

constexpr int kPartsOfPixel = 256;

stbtt_fontinfo openFont(std::string_view bytes) {
    stbtt_fontinfo font{};
    stbtt_InitFont(&font, reinterpret_cast<const unsigned char*>(bytes.data()), 0);
    return font;
}

const stbtt_fontinfo& fontOf(bool isBold) {
    static const stbtt_fontinfo regular = openFont(embeddedFontRegular());
    static const stbtt_fontinfo bold = openFont(embeddedFontBold());
    return isBold ? bold : regular;
}

// The number of the character that starts at this byte, which moves behind it. A byte that starts none stands for
// itself.
int nextCharacter(const std::string& text, std::size_t& at) {
    const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(at++);
    const int following = first >= 0xf0 ? 3 : first >= 0xe0 ? 2 : first >= 0xc0 ? 1 : 0;
    if (following == 0 || at + static_cast<std::size_t>(following) > text.size())
        return first;
    int character = first & (0x3f >> following);
    for (int i = 0; i < following; ++i)
        character = character << 6 | (byte(at++) & 0x3f);
    return character;
}

struct PlacedGlyph {
    int glyph;
    double column;  // of its origin
};

struct TextLayout {
    std::vector<PlacedGlyph> glyphs;
    double width = 0.0;
};

TextLayout layOut(const std::string& text, double size, bool isBold) {
    const stbtt_fontinfo& font = fontOf(isBold);
    const double scale = stbtt_ScaleForMappingEmToPixels(&font, static_cast<float>(size));
    TextLayout layout;
    int previous = 0;
    for (std::size_t at = 0; at < text.size();) {
        const int glyph = stbtt_FindGlyphIndex(&font, nextCharacter(text, at));
        if (!layout.glyphs.empty())
            layout.width += scale * stbtt_GetGlyphKernAdvance(&font, previous, glyph);
        layout.glyphs.push_back({glyph, layout.width});
        int advance = 0;
        stbtt_GetGlyphHMetrics(&font, glyph, &advance, nullptr);
        layout.width += scale * advance;
        previous = glyph;
    }
    return layout;
}

// Glyphs may touch.
void add(Coverage& coverage, const Coverage& glyph) {
    const int left = glyph.corner.x - coverage.corner.x;
    const int top = glyph.corner.y - coverage.corner.y;
    const auto [width, height] = glyph.covered.shape;
    for (int row = 0; row < height; ++row) {
        if (top + row < 0 || top + row >= coverage.covered.shape.height)
            continue;
        for (int column = std::max(0, -left); column < std::min(width, coverage.covered.shape.width - left); ++column) {
            std::uint8_t& pixel = coverage.covered.at(top + row, left + column);
            pixel = std::max(pixel, glyph.covered.at(row, column));
        }
    }
}

Coverage coverGlyph(const stbtt_fontinfo& font, int glyph, float scale, double column) {
    const double whole = std::floor(column);
    const auto shift = static_cast<float>(column - whole);
    int left = 0, top = 0, right = 0, bottom = 0;
    stbtt_GetGlyphBitmapBoxSubpixel(&font, glyph, scale, scale, shift, 0.0f, &left, &top, &right, &bottom);
    Coverage coverage{{left + static_cast<int>(whole), top},
                      filledImage<std::uint8_t>({right - left, bottom - top}, 0)};
    const auto [width, height] = coverage.covered.shape;
    if (width > 0 && height > 0)
        stbtt_MakeGlyphBitmapSubpixel(&font, coverage.covered.pixels.data(), width, height, width, scale, scale, shift,
                                      0.0f, glyph);
    return coverage;
}

int toParts(double position) {
    constexpr double kFarOutside = 1e6;
    return static_cast<int>(std::lround(std::clamp(position, -kFarOutside, kFarOutside) * kPartsOfPixel));
}

// The pixels that the contours touch within the picture.
Coverage boundsOf(const std::vector<std::vector<Corner>>& contours, const Shape& picture) {
    double left = picture.width, top = picture.height, right = 0.0, bottom = 0.0;
    for (const std::vector<Corner>& contour : contours) {
        for (const auto& [x, y] : contour) {
            left = std::min(left, x);
            right = std::max(right, x);
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
    }
    const auto inside = [](double position, int side) {
        return static_cast<int>(std::clamp(position, 0.0, static_cast<double>(side)));
    };
    const Point corner{inside(std::floor(left), picture.width), inside(std::floor(top), picture.height)};
    const Shape shape{inside(std::ceil(right), picture.width) - corner.x,
                      inside(std::ceil(bottom), picture.height) - corner.y};
    return {corner, filledImage<std::uint8_t>({std::max(0, shape.width), std::max(0, shape.height)}, 0)};
}

}  // namespace

double textWidth(const std::string& text, double size, bool isBold) {
    return layOut(text, size, isBold).width;
}

Coverage coverText(const std::string& text, double size, bool isBold, double column) {
    const stbtt_fontinfo& font = fontOf(isBold);
    const TextLayout layout = layOut(text, size, isBold);
    const auto scale = stbtt_ScaleForMappingEmToPixels(&font, static_cast<float>(size));
    // Room for the font's tallest letters, its deepest ones, and those that reach over their own width.
    const int rows = static_cast<int>(std::ceil(1.3 * size));
    const int margin = static_cast<int>(std::ceil(size));
    const int first = static_cast<int>(std::floor(column)) - margin;
    const int width = static_cast<int>(std::ceil(layout.width)) + 2 * margin;
    Coverage coverage{{first, -rows}, filledImage<std::uint8_t>({width, 2 * rows}, 0)};
    for (const PlacedGlyph& placed : layout.glyphs)
        add(coverage, coverGlyph(font, placed.glyph, scale, column + placed.column));
    return coverage;
}

Coverage coverContours(const std::vector<std::vector<Corner>>& contours, const Shape& picture) {
    Coverage coverage = boundsOf(contours, picture);
    auto [width, height] = coverage.covered.shape;
    if (width == 0 || height == 0)
        return coverage;
    std::vector<ContourVertex> vertices;
    for (const std::vector<Corner>& contour : contours) {
        for (std::size_t i = 0; i < contour.size(); ++i) {
            ContourVertex vertex{};
            vertex.x = toParts(contour[i].x);
            vertex.y = toParts(contour[i].y);
            vertex.type = i == 0 ? STBTT_vmove : STBTT_vline;
            vertices.push_back(vertex);
        }
    }
    constexpr float kScale = 1.0f / kPartsOfPixel;
    constexpr float kFlatness = 0.35f;  // for curves, of which there are none
    stbtt__bitmap bitmap{width, height, width, coverage.covered.pixels.data()};
    stbtt_Rasterize(&bitmap, kFlatness, vertices.data(), static_cast<int>(vertices.size()), kScale, kScale, 0.0f, 0.0f,
                    coverage.corner.x, coverage.corner.y, 0, nullptr);
    return coverage;
}

}  // namespace qx::tool
