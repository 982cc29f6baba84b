#include "picture/PngWriter.h"

#include "common/FileAccess.h"

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>

#include <new>

namespace qx::tool {
namespace {

void append(void* file, void* bytes, int count) {
    static_cast<std::string*>(file)->append(static_cast<const char*>(bytes), static_cast<std::size_t>(count));
}

// The encoder writes into memory: its own way to a file does not notice that the file's room is used up.
template <class Pixel>
void write(const std::string& path, const Image<Pixel>& picture) {
    std::string file;
    const auto [width, height] = picture.shape;
    constexpr int kChannels = sizeof(Pixel);
    if (stbi_write_png_to_func(append, &file, width, height, kChannels, picture.pixels.data(), width * kChannels) == 0)
        throw std::bad_alloc();
    writeFile(path, file);
}

}  // namespace

void writePng(const std::string& path, const GreyPicture& picture) {
    write(path, picture);
}

void writePng(const std::string& path, const Canvas& canvas) {
    write(path, canvas.image());
}

}  // namespace qx::tool
