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
void write(const std::string& path, const Shape& shape, int channels, const void* pixels) {
    std::string file;
    const int rowBytes = shape.width * channels;
    if (stbi_write_png_to_func(append, &file, shape.width, shape.height, channels, pixels, rowBytes) == 0)
        throw std::bad_alloc();
    writeFile(path, file);
}

}  // namespace

void writePng(const std::string& path, const GreyPicture& picture) {
    write(path, picture.shape, 1, picture.pixels.data());
}

void writePng(const std::string& path, const Canvas& canvas) {
    static_assert(sizeof(Colour) == 3);
    write(path, canvas.shape(), 3, canvas.pixels());
}

}  // namespace qx::tool
