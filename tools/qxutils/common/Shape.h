#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Sizes of images and places in them.

namespace qx::tool {

// Width and height of an image in pixels.
struct Shape {
    int width = 0;
    int height = 0;

    std::int64_t pixelCount() const { return std::int64_t{width} * height; }
    std::int64_t pixelBytes() const { return pixelCount() * 2; }
    bool operator==(const Shape&) const = default;
};

// A pixel of an image or a place in a picture, from the top left corner.
struct Point {
    int x = 0;
    int y = 0;
};

// The largest side accepted; panels stay far below.
inline constexpr int kMaxSide = 16384;

// What a shape is to the help of an option.
inline constexpr const char* kShapeHelp =
    "WIDTHxHEIGHT in pixels, the side of a known square panel such as 3072, or a panel's size in cm: 4343, 3543, 4335";

// Reads a shape with sides of 1..kMaxSide: "3072x2560", "3072X2560" or "3072,2560", the side of a known square panel,
// "3072", or the centimetres of a panel with pixels of 139 or 140 um, width first: "4343" is 3072x3072, "3543"
// 2560x3072 and "4335" 3072x2560. Nothing for any other text.
std::optional<Shape> readShape(std::string_view text);

// The same, but any other text is a usage error.
Shape parseShape(const std::string& text);

// Whether panels of this shape are common.
bool isKnownPanel(const Shape& shape);

std::string toText(const Shape& shape);

}  // namespace qx::tool
