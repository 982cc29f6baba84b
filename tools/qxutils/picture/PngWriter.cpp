#include "picture/PngWriter.h"

#include "common/ToolError.h"
#include "files/FileAccess.h"
#include "picture/Allocated.h"
#include "text/FileName.h"

// compressBytes is as the encoder wants it: the result is freed by std::free, null means that there is no memory.
#if defined QXUTILS_DEFLATE
#include <libdeflate.h>

#include <memory>

namespace {

unsigned char* compressBytes(unsigned char* bytes, int count, int* compressed, int level) {
    using Compressor = std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)>;
    const Compressor compressor(libdeflate_alloc_compressor(level), libdeflate_free_compressor);
    if (!compressor)
        return nullptr;
    const auto size = static_cast<std::size_t>(count);
    const std::size_t room = libdeflate_zlib_compress_bound(compressor.get(), size);
    auto* const result = static_cast<unsigned char*>(std::malloc(room));
    if (result != nullptr)
        *compressed = static_cast<int>(libdeflate_zlib_compress(compressor.get(), bytes, size, result, room));
    return result;
}

}  // namespace

#define STBIW_ZLIB_COMPRESS compressBytes
#elif defined QXUTILS_ZLIB
#include <zlib.h>

namespace {

unsigned char* compressBytes(unsigned char* bytes, int count, int* compressed, int level) {
    uLongf room = compressBound(static_cast<uLong>(count));
    auto* const result = static_cast<unsigned char*>(std::malloc(room));
    if (result != nullptr && compress2(result, &room, bytes, static_cast<uLong>(count), level) != Z_OK) {
        std::free(result);
        return nullptr;
    }
    *compressed = static_cast<int>(room);
    return result;
}

}  // namespace

#define STBIW_ZLIB_COMPRESS compressBytes
#endif

// Without memory the encoder would go on in places.
#define STBIW_MALLOC(size) qx::tool::allocated(std::malloc(size))
#define STBIW_REALLOC(memory, size) qx::tool::allocated(std::realloc(memory, size))
#define STBIW_FREE(memory) std::free(memory)
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <string_view>

namespace qx::tool {
namespace {

constexpr int kDrawingScale = 2;

// Noise hardly becomes shorter by more effort; drawings do.
constexpr int kQuickLevel = 1;
constexpr int kThoroughLevel = 6;

// How rows are made ready for compression: the encoder's choice row by row, not at all, or as differences from the row
// above, which suits images nearly as well as the choice.
constexpr int kChosenFilter = -1;
constexpr int kNoFilter = 0;
constexpr int kRowAbove = 2;

void append(void* file, void* bytes, int count) {
    static_cast<std::string*>(file)->append(static_cast<const char*>(bytes), static_cast<std::size_t>(count));
}

// The encoder writes into memory: its own way to a file does not notice that the file's room is used up.
template <class Pixel>
std::string encode(const Image<Pixel>& picture, int level, int filter) {
    std::string file;
    const auto [width, height] = picture.shape;
    constexpr int kChannels = sizeof(Pixel);
    stbi_write_png_compression_level = level;
    stbi_write_force_png_filter = filter;
    if (stbi_write_png_to_func(append, &file, width, height, kChannels, picture.pixels.data(), width * kChannels) == 0)
        throw std::bad_alloc();
    return file;
}

// The rows' own bytes suit plots and noise, their differences smooth images. A quick try tells.
template <class Pixel>
std::string encodeShorter(const Image<Pixel>& picture) {
    const auto quickLength = [&picture](int filter) { return encode(picture, kQuickLevel, filter).size(); };
    const bool isFiltered = quickLength(kChosenFilter) < quickLength(kNoFilter);
    return encode(picture, kThoroughLevel, isFiltered ? kChosenFilter : kNoFilter);
}

bool isGrey(const Colour& colour) {
    return colour.red == colour.green && colour.green == colour.blue;
}

bool endsInSvg(std::string_view path) {
    return hasEnding(path, ".svg");
}

}  // namespace

std::string encodePng(const GreyPicture& picture) {
    return encode(picture, kQuickLevel, kRowAbove);
}

std::string encodePng(const Drawing& drawing) {
    const Image<Colour> pixels = renderPixels(drawing, kDrawingScale);
    if (!std::all_of(pixels.pixels.begin(), pixels.pixels.end(), isGrey))
        return encodeShorter(pixels);
    GreyPicture grey{pixels.shape, {}};
    std::transform(pixels.pixels.begin(), pixels.pixels.end(), std::back_inserter(grey.pixels),
                   [](const Colour& colour) { return colour.red; });
    return encodeShorter(grey);
}

void writePng(const std::string& path, const GreyPicture& picture) {
    if (endsInSvg(path))
        throw ToolError(path + ": a plain picture is a PNG; give a name that ends in .png", ExitCode::Usage);
    writeFile(path, encodePng(picture));
}

void writePicture(const std::string& path, const Drawing& drawing) {
    writeFile(path, endsInSvg(path) ? toSvg(drawing) : encodePng(drawing));
}

}  // namespace qx::tool
