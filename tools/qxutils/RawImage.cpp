#include "RawImage.h"

#include "Command.h"

#include <QxUtils.h>

#include <bit>
#include <cstring>
#include <filesystem>
#include <system_error>

static_assert(std::endian::native == std::endian::little, "pixels are copied as they stand in the file");

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

// The library joins a directory and a file name without adding a separator, and its paths are short.
constexpr std::size_t kMaxLibraryPath = 255;

struct LibraryPath {
    std::string directory;
    std::string name;
};

LibraryPath toLibraryPath(const std::string& path) {
    if (path.size() > kMaxLibraryPath - 2) {
        throw ToolError(path + ": the path is longer than " + std::to_string(kMaxLibraryPath - 2) +
                        " characters; run qxutils closer to the file");
    }
    const std::size_t slash = path.find_last_of("/\\");
    if (slash == std::string::npos)
        return {"./", path};
    return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

[[noreturn]] void throwSizeMismatch(const std::string& path, const Shape& shape, std::int64_t bytes) {
    throw ToolError(path + ": " + std::to_string(bytes) + " bytes, but " + toText(shape) + " needs " +
                    std::to_string(shape.pixelBytes()) + ", or " +
                    std::to_string(shape.pixelBytes() + kImageHeaderBytes) +
                    " with a header; give another --shape (qxutils info lists those that fit)");
}

}  // namespace

std::int64_t fileBytes(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status))
        throw ToolError(path + ": no such file; check the name");
    if (fs::is_directory(status))
        throw ToolError(path + ": is a directory; give a raw image file");
    const std::uintmax_t bytes = fs::file_size(path, error);
    if (error)
        throw ToolError(path + ": cannot tell its size (" + error.message() + "); give a regular file");
    return static_cast<std::int64_t>(bytes);
}

std::vector<char> readFileBytes(const std::string& path, std::int64_t bytes) {
    const LibraryPath file = toLibraryPath(path);
    std::vector<char> content(static_cast<std::size_t>(bytes));
    const int status =
        readImageFromDisk(file.directory.c_str(), file.name.c_str(), content.data(), static_cast<int>(bytes));
    if (status != StatusOk) {
        throw ToolError(path + ": cannot be read (status " + std::to_string(status) + ": " + getStatusMessage(status) +
                        "); check that you may read it");
    }
    return content;
}

RawImage loadRawImage(const std::string& path, const Shape& shape) {
    const std::int64_t bytes = fileBytes(path);
    const bool hasHeader = bytes == shape.pixelBytes() + kImageHeaderBytes;
    if (!hasHeader && bytes != shape.pixelBytes())
        throwSizeMismatch(path, shape, bytes);
    const std::vector<char> content = readFileBytes(path, bytes);
    RawImage image{shape, hasHeader, std::vector<WORD>(static_cast<std::size_t>(shape.pixelCount()))};
    std::memcpy(image.pixels.data(), content.data() + (hasHeader ? kImageHeaderBytes : 0),
                static_cast<std::size_t>(shape.pixelBytes()));
    return image;
}

void saveRawImage(const std::string& path, const RawImage& image) {
    const LibraryPath file = toLibraryPath(path);
    const int status =
        writeImageToDisk(file.directory.c_str(), file.name.c_str(), reinterpret_cast<const char*>(image.pixels.data()),
                         static_cast<int>(image.shape.pixelBytes()));
    if (status != StatusOk) {
        throw ToolError(path + ": cannot be written (status " + std::to_string(status) +
                        "); check that the folder exists and has room");
    }
}

}  // namespace qx::tool
