#include "RawImage.h"

#include "Command.h"
#include "FileAccess.h"

#include <QxUtils.h>

#include <bit>
#include <cstring>

static_assert(std::endian::native == std::endian::little, "pixels are copied as they stand in the file");

namespace qx::tool {
namespace {

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

// The first bytes of a file.
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

}  // namespace

RawImage loadRawImage(const std::string& path, const Shape& shape) {
    const std::int64_t bytes = fileBytes(path, kRawImageWanted);
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
    const auto* bytes = reinterpret_cast<const char*>(image.pixels.data());
    writeFile(path, {bytes, static_cast<std::size_t>(image.shape.pixelBytes())});
}

}  // namespace qx::tool
