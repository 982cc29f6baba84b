#include "image/RawImage.h"

#include "common/ToolError.h"
#include "files/ContentCrc.h"
#include "files/FileAccess.h"
#include "files/InputFile.h"

#include <QxUtils.h>

#include <bit>
#include <cstring>
#include <utility>

static_assert(std::endian::native == std::endian::little, "pixels are copied as they stand in the file");

namespace qx::tool {
namespace {

template <class Pixels>
std::string_view asBytes(const Pixels& pixels) {
    return {reinterpret_cast<const char*>(pixels.data()), pixels.size() * sizeof(pixels[0])};
}

[[noreturn]] void throwSizeMismatch(const std::string& path, const Shape& shape, const std::string& bytes) {
    throw ToolError(path + ": " + bytes + " bytes, but " + toText(shape) + " needs " +
                    std::to_string(shape.pixelBytes()) + ", or " +
                    std::to_string(shape.pixelBytes() + kImageHeaderBytes) +
                    " with a header; give another --shape (qxutils info lists those that fit)");
}

bool isHeaded(const std::string& path, const Shape& shape, std::int64_t bytes) {
    const bool hasHeader = bytes == shape.pixelBytes() + kImageHeaderBytes;
    if (!hasHeader && bytes != shape.pixelBytes())
        throwSizeMismatch(path, shape, std::to_string(bytes));
    return hasHeader;
}

// Of a file whose length was right when it was opened.
template <class Value>
std::vector<Value> readValues(const std::string& path, InputFile& file, std::int64_t count) {
    std::vector<Value> values;
    appendValues(values, file, count);
    if (std::ssize(values) < count) {
        throw ToolError(path + ": ends after " + std::to_string(file.bytesRead()) +
                        " bytes, before what was expected; try again when the file is complete");
    }
    return values;
}

template <class Value>
std::vector<Value> loadFirstValues(const std::string& path, std::int64_t count) {
    InputFile file(path, kRawImageWanted);
    return readValues<Value>(path, file, count);
}

// What comes first is a header if enough follows, and pixels if nothing does.
LoadedImage readStream(const std::string& path, const Shape& shape, InputFile& file) {
    std::vector<WORD> pixels;
    std::vector<char> rest;
    appendValues(pixels, file, shape.pixelCount());
    appendValues(rest, file, kImageHeaderBytes + 1);
    if (rest.size() > kImageHeaderBytes)
        throwSizeMismatch(path, shape, "more than " + std::to_string(file.bytesRead() - 1));
    std::vector<char> header;
    if (isHeaded(path, shape, file.bytesRead())) {
        const std::string content = std::string(asBytes(pixels)).append(rest.begin(), rest.end());
        header.assign(content.begin(), content.begin() + kImageHeaderBytes);
        std::memcpy(pixels.data(), content.data() + kImageHeaderBytes, asBytes(pixels).size());
    }
    return {{shape, std::move(pixels)}, std::move(header)};
}

[[noreturn]] void throwOtherSize(const std::string& path, const Shape& shape, const char* kind, std::int64_t wanted,
                                 const std::string& bytes) {
    throw ToolError(path + ": " + bytes + " bytes, but " + toText(shape) + ' ' + kind + " need " +
                    std::to_string(wanted) + "; give another --shape");
}

// A file without a header.
template <class Pixel>
Image<Pixel> loadImage(const std::string& path, const Shape& shape, const char* kind) {
    const std::int64_t wanted = shape.pixelCount() * std::int64_t{sizeof(Pixel)};
    InputFile file(path, kRawImageWanted);
    if (file.bytes().value_or(wanted) != wanted)
        throwOtherSize(path, shape, kind, wanted, std::to_string(*file.bytes()));
    std::vector<Pixel> pixels;
    appendValues(pixels, file, shape.pixelCount());
    char beyond = 0;
    if (file.read(&beyond, 1) != 0)
        throwOtherSize(path, shape, kind, wanted, "more than " + std::to_string(wanted));
    if (file.bytesRead() != wanted)
        throwOtherSize(path, shape, kind, wanted, std::to_string(file.bytesRead()));
    return {shape, std::move(pixels)};
}

}  // namespace

std::uint32_t LoadedImage::contentCrc() const {
    return qx::tool::contentCrc(pixelBytes(image), qx::tool::contentCrc({header.data(), header.size()}));
}

LoadedImage loadImageFile(const std::string& path, const Shape& shape) {
    InputFile file(path, kRawImageWanted);
    if (!file.bytes())
        return readStream(path, shape, file);
    const bool hasHeader = isHeaded(path, shape, *file.bytes());
    std::vector<char> header = readValues<char>(path, file, hasHeader ? kImageHeaderBytes : 0);
    return {{shape, readValues<WORD>(path, file, shape.pixelCount())}, std::move(header)};
}

RawImage loadRawImage(const std::string& path, const Shape& shape) {
    return loadImageFile(path, shape).image;
}

FloatImage loadFloatImage(const std::string& path, const Shape& shape) {
    return loadImage<float>(path, shape, "pixels in single precision");
}

LongImage loadLongImage(const std::string& path, const Shape& shape) {
    return loadImage<std::uint32_t>(path, shape, "pixels of 32 bits");
}

std::vector<WORD> loadWords(const std::string& path, std::int64_t count) {
    return loadFirstValues<WORD>(path, count);
}

std::vector<char> loadBytes(const std::string& path, std::int64_t count) {
    return loadFirstValues<char>(path, count);
}

std::string_view pixelBytes(std::span<const float> pixels) {
    return asBytes(pixels);
}

std::string_view pixelBytes(const RawImage& image) {
    return asBytes(image.pixels);
}

std::string_view pixelBytes(const FloatImage& image) {
    return asBytes(image.pixels);
}

std::string_view pixelBytes(const LongImage& image) {
    return asBytes(image.pixels);
}

void saveRawImage(const std::string& path, const RawImage& image) {
    writeFile(path, pixelBytes(image));
}

void saveFloatImage(const std::string& path, const FloatImage& image) {
    writeFile(path, pixelBytes(image));
}

void saveLongImage(const std::string& path, const LongImage& image) {
    writeFile(path, pixelBytes(image));
}

}  // namespace qx::tool
