#pragma once

#include "common/Shape.h"

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

// Pixels in single precision: an average dark image, a corrected one, or block values.
struct FloatImage {
    Shape shape;
    std::vector<float> pixels;
};

// Pixels of 32 bits: sums of frames.
struct LongImage {
    Shape shape;
    std::vector<std::uint32_t> pixels;
};

// What fileBytes asks the user for.
inline constexpr const char* kRawImageWanted = "a raw image file";

// Reads a raw 16-bit file of the given shape, headerless or behind the 65536-byte header: the file's size decides.
RawImage loadRawImage(const std::string& path, const Shape& shape);

// Reads a raw file of 32-bit floats, which has no header.
FloatImage loadFloatImage(const std::string& path, const Shape& shape);

// Reads a raw file of unsigned 32-bit pixels, which has no header.
LongImage loadLongImage(const std::string& path, const Shape& shape);

// The first words or bytes of a file, whatever they are.
std::vector<WORD> loadWords(const std::string& path, std::size_t count);
std::vector<char> loadBytes(const std::string& path, std::size_t count);

// Write the pixels without a header.
void saveRawImage(const std::string& path, const RawImage& image);
void saveFloatImage(const std::string& path, const FloatImage& image);
void saveLongImage(const std::string& path, const LongImage& image);

}  // namespace qx::tool
