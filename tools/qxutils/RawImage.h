#pragma once

#include "Shape.h"

#include <QxUtils/Types.h>

#include <string>
#include <vector>

namespace qx::tool {

struct RawImage {
    Shape shape;
    bool hasHeader = false;
    std::vector<WORD> pixels;
};

// What fileBytes asks the user for.
inline constexpr const char* kRawImageWanted = "a raw image file";

// Reads a raw 16-bit file of the given shape, headerless or behind the 65536-byte header: the file's size decides.
RawImage loadRawImage(const std::string& path, const Shape& shape);

// Writes the pixels without a header.
void saveRawImage(const std::string& path, const RawImage& image);

}  // namespace qx::tool
