#pragma once

#include "image/Image.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Images as raw files. Every function throws a ToolError for a file that cannot be read or written, or is not of the
// size that the shape asks for.

namespace qx::tool {

// What fileBytes asks the user for.
inline constexpr const char* kRawImageWanted = "a raw image file";

// A raw 16-bit file as it was read, once.
struct LoadedImage {
    RawImage image;
    std::vector<char> header;  // empty where the file has none

    // CRC-32 of the whole file, taken from memory.
    std::uint32_t contentCrc() const;
};

// Read a raw 16-bit file, or standard input for "-", with or without a header. A stream is read no further than to see
// that it is not of the shape.
LoadedImage loadImageFile(const std::string& path, const Shape& shape);
RawImage loadRawImage(const std::string& path, const Shape& shape);

// Read raw files, or standard input, of 32-bit floats or unsigned 32-bit pixels, which have no header.
FloatImage loadFloatImage(const std::string& path, const Shape& shape);
LongImage loadLongImage(const std::string& path, const Shape& shape);

// The first words or bytes of a file, whatever they are.
std::vector<WORD> loadWords(const std::string& path, std::int64_t count);
std::vector<char> loadBytes(const std::string& path, std::int64_t count);

// The pixels as they stand in a file.
std::string_view pixelBytes(std::span<const float> pixels);
std::string_view pixelBytes(const RawImage& image);
std::string_view pixelBytes(const FloatImage& image);
std::string_view pixelBytes(const LongImage& image);

// Write the pixels without a header.
void saveRawImage(const std::string& path, const RawImage& image);
void saveFloatImage(const std::string& path, const FloatImage& image);
void saveLongImage(const std::string& path, const LongImage& image);

}  // namespace qx::tool
