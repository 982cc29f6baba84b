#pragma once

#include <cstdint>
#include <string>

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

// Reads "WxH", such as "3072x3072"; throws a usage error for anything else and for sides outside 1..kMaxSide.
Shape parseShape(const std::string& text);

std::string toText(const Shape& shape);

}  // namespace qx::tool
