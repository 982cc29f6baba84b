#include "files/WholeFile.h"

#include "platform/FileSystem.h"
#include "platform/Replacement.h"

#include <cstdio>

namespace qx {
namespace {

// Not opened where there can be no file beside, or where it cannot take the place.
FileWriting writeBeside(const char* path, const char* bytes, std::size_t size) noexcept {
    Replacement replacement(path);
    if (replacement.file() == nullptr)
        return {};
    const std::size_t count = std::fwrite(bytes, 1, size, replacement.file());
    const bool isWhole = replacement.close() && count == size;
    return {!isWhole || replacement.takePlace(), count, isWhole};
}

FileWriting writeInPlace(const char* path, const char* bytes, std::size_t size) noexcept {
    File file = openFile(path, OpenMode::WriteBinary);
    if (!file)
        return {};
    const std::size_t count = std::fwrite(bytes, 1, size, file.get());
    return {true, count, std::fclose(file.release()) == 0 && count == size};
}

}  // namespace

FileWriting writeWholeFile(const char* path, const char* bytes, std::size_t size) noexcept {
    const FileWriting beside = writeBeside(path, bytes, size);
    return beside.isOpened ? beside : writeInPlace(path, bytes, size);
}

}  // namespace qx
