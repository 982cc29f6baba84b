#include "image/RawImage.h"

#include "common/FileAccess.h"
#include "common/LibraryFile.h"
#include "common/ToolError.h"

#include <QxUtils.h>

#include <algorithm>
#include <bit>

static_assert(std::endian::native == std::endian::little, "pixels are copied as they stand in the file");

namespace qx::tool {
namespace {

[[noreturn]] void throwSizeMismatch(const std::string& path, const Shape& shape, std::int64_t bytes) {
    throw ToolError(path + ": " + std::to_string(bytes) + " bytes, but " + toText(shape) + " needs " +
                    std::to_string(shape.pixelBytes()) + ", or " +
                    std::to_string(shape.pixelBytes() + kImageHeaderBytes) +
                    " with a header; give another --shape (qxutils info lists those that fit)");
}

// The first values of a file.
template <class Value>
std::vector<Value> readValues(const std::string& path, std::int64_t count) {
    const LibraryPath file = toLibraryPath(path);
    std::vector<Value> content(static_cast<std::size_t>(count));
    const int status =
        readImageFromDisk(file.directory.c_str(), file.name.c_str(), reinterpret_cast<char*>(content.data()),
                          static_cast<int>(content.size() * sizeof(Value)));
    requireRead(path, status);
    return content;
}

// A file without a header.
template <class Pixel>
Image<Pixel> readImage(const std::string& path, const Shape& shape, const char* kind) {
    const std::int64_t bytes = fileBytes(path, kRawImageWanted);
    const std::int64_t wanted = shape.pixelCount() * std::int64_t{sizeof(Pixel)};
    if (bytes != wanted) {
        throw ToolError(path + ": " + std::to_string(bytes) + " bytes, but " + toText(shape) + ' ' + kind + " need " +
                        std::to_string(wanted) + "; give another --shape");
    }
    return {shape, readValues<Pixel>(path, shape.pixelCount())};
}

template <class Pixel>
std::string_view asBytes(const std::vector<Pixel>& pixels) {
    return {reinterpret_cast<const char*>(pixels.data()), pixels.size() * sizeof(Pixel)};
}

}  // namespace

bool hasImageHeader(const std::string& path, const Shape& shape) {
    const std::int64_t bytes = fileBytes(path, kRawImageWanted);
    const bool hasHeader = bytes == shape.pixelBytes() + kImageHeaderBytes;
    if (!hasHeader && bytes != shape.pixelBytes())
        throwSizeMismatch(path, shape, bytes);
    return hasHeader;
}

RawImage loadRawImage(const std::string& path, const Shape& shape) {
    const std::int64_t headerBytes = hasImageHeader(path, shape) ? kImageHeaderBytes : 0;
    const std::vector<char> content = loadBytes(path, headerBytes + shape.pixelBytes());
    RawImage image = filledImage<WORD>(shape, 0);
    std::copy(content.begin() + headerBytes, content.end(), reinterpret_cast<char*>(image.pixels.data()));
    return image;
}

FloatImage loadFloatImage(const std::string& path, const Shape& shape) {
    return readImage<float>(path, shape, "pixels in single precision");
}

LongImage loadLongImage(const std::string& path, const Shape& shape) {
    return readImage<std::uint32_t>(path, shape, "pixels of 32 bits");
}

std::vector<WORD> loadWords(const std::string& path, std::int64_t count) {
    return readValues<WORD>(path, count);
}

std::vector<char> loadBytes(const std::string& path, std::int64_t count) {
    return readValues<char>(path, count);
}

std::string_view pixelBytes(const RawImage& image) {
    return asBytes(image.pixels);
}

void saveRawImage(const std::string& path, const RawImage& image) {
    writeFile(path, pixelBytes(image));
}

void saveFloatImage(const std::string& path, const FloatImage& image) {
    writeFile(path, asBytes(image.pixels));
}

void saveLongImage(const std::string& path, const LongImage& image) {
    writeFile(path, asBytes(image.pixels));
}

}  // namespace qx::tool
