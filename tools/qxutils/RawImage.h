#pragma once

#include "Shape.h"

#include <QxUtils/Types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qx::tool {

struct RawImage {
    Shape shape;
    bool hasHeader = false;
    std::vector<WORD> pixels;
};

// Length of a regular file in bytes; throws a ToolError that names what stands in the way.
std::int64_t fileBytes(const std::string& path);

// Reads a raw 16-bit file of the given shape, headerless or behind the 65536-byte header: the file's size decides.
RawImage loadRawImage(const std::string& path, const Shape& shape);

// Writes the pixels without a header.
void saveRawImage(const std::string& path, const RawImage& image);

// The first bytes of a file.
std::vector<char> readFileBytes(const std::string& path, std::int64_t bytes);

}  // namespace qx::tool
