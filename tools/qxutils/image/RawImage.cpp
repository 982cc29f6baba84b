#include "image/RawImage.h"

#include "common/FileAccess.h"
#include "common/LibraryFile.h"
#include "common/ToolError.h"

#include <QxUtils.h>

#include <bit>
#include <cstring>

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
std::vector<Value> readValues(const std::string& path, std::size_t count) {
    const LibraryPath file = toLibraryPath(path);
    std::vector<Value> content(count);
    const int status =
        readImageFromDisk(file.directory.c_str(), file.name.c_str(), reinterpret_cast<char*>(content.data()),
                          static_cast<int>(count * sizeof(Value)));
    requireRead(path, status);
    return content;
}

// A file without a header.
template <class Pixel>
std::vector<Pixel> readPixels(const std::string& path, const Shape& shape, const char* kind) {
    const std::int64_t bytes = fileBytes(path, kRawImageWanted);
    const std::int64_t wanted = shape.pixelCount() * std::int64_t{sizeof(Pixel)};
    if (bytes != wanted) {
        throw ToolError(path + ": " + std::to_string(bytes) + " bytes, but " + toText(shape) + ' ' + kind + " need " +
                        std::to_string(wanted) + "; give another --shape");
    }
    return readValues<Pixel>(path, static_cast<std::size_t>(shape.pixelCount()));
}

template <class Image>
void savePixels(const std::string& path, const Image& image) {
    const auto* bytes = reinterpret_cast<const char*>(image.pixels.data());
    writeFile(path, {bytes, image.pixels.size() * sizeof(image.pixels[0])});
}

}  // namespace

RawImage loadRawImage(const std::string& path, const Shape& shape) {
    const std::int64_t bytes = fileBytes(path, kRawImageWanted);
    const bool hasHeader = bytes == shape.pixelBytes() + kImageHeaderBytes;
    if (!hasHeader && bytes != shape.pixelBytes())
        throwSizeMismatch(path, shape, bytes);
    const std::vector<char> content = readValues<char>(path, static_cast<std::size_t>(bytes));
    RawImage image{shape, hasHeader, std::vector<WORD>(static_cast<std::size_t>(shape.pixelCount()))};
    std::memcpy(image.pixels.data(), content.data() + (hasHeader ? kImageHeaderBytes : 0),
                static_cast<std::size_t>(shape.pixelBytes()));
    return image;
}

FloatImage loadFloatImage(const std::string& path, const Shape& shape) {
    return {shape, readPixels<float>(path, shape, "pixels in single precision")};
}

LongImage loadLongImage(const std::string& path, const Shape& shape) {
    return {shape, readPixels<std::uint32_t>(path, shape, "pixels of 32 bits")};
}

std::vector<WORD> loadWords(const std::string& path, std::size_t count) {
    return readValues<WORD>(path, count);
}

std::vector<char> loadBytes(const std::string& path, std::size_t count) {
    return readValues<char>(path, count);
}

void saveRawImage(const std::string& path, const RawImage& image) {
    savePixels(path, image);
}

void saveFloatImage(const std::string& path, const FloatImage& image) {
    savePixels(path, image);
}

void saveLongImage(const std::string& path, const LongImage& image) {
    savePixels(path, image);
}

}  // namespace qx::tool
