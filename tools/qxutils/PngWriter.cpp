#include "PngWriter.h"

#include "Command.h"

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

namespace qx::tool {
namespace {

void write(const std::string& path, const Shape& shape, int channels, const void* pixels) {
    const int rowBytes = shape.width * channels;
    if (stbi_write_png(path.c_str(), shape.width, shape.height, channels, pixels, rowBytes) == 0)
        throw ToolError(path + ": cannot be written; check that the folder exists and may be written to");
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
