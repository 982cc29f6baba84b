#include "QxUtils/Files.h"

#include "QxUtils/StatusCode.h"
#include "files/DirectoryText.h"
#include "files/RawImageReader.h"
#include "files/WholeFile.h"
#include "foundation/Diagnostics.h"
#include "foundation/JoinedPath.h"
#include "foundation/Scratch.h"
#include "platform/FileSystem.h"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace {

using qx::File;
using qx::JoinedPath;
using qx::OpenMode;

constexpr std::size_t kCopiedAtOnce = 256 * 1024;

}  // namespace

int writeImageToDisk(const char* dir, const char* name, const char* buffer, int size) {
    if (dir == nullptr || name == nullptr || buffer == nullptr)
        return StatusNullArgument;
    if (size < 0)
        return StatusWrongParameter;
    if (!qx::pathExists(dir)) {
        qx::reportMissingDirectory();
        qx::createDirectory(dir);
    }
    const JoinedPath path(dir, name);
    qx::printDebug("Full path: %s \n", path.c_str());
    const qx::FileWriting writing = qx::writeWholeFile(path.c_str(), buffer, size);
    if (!writing.isOpened) {
        qx::printDebug("Error create file to write image!");
        return StatusFileOpenFailed;
    }
    qx::printDebug(" fwrite return count=%d\n", static_cast<int>(writing.count));
    if (!writing.isWhole) {
        qx::printDebug("Write file error!\n");
        return StatusFileWriteFailed;
    }
    return StatusOk;
}

int readImageFromDisk(const char* dir, const char* name, char* buffer, int size) {
    if (dir == nullptr || name == nullptr || buffer == nullptr)
        return StatusNullArgument;
    if (size < 0)
        return StatusWrongParameter;
    qx::RawImageReader reader(dir, name);
    reader.read(buffer, size);
    return reader.finish();
}

int imageWithHead(const char* dir, const char* name, int expectedSize) {
    std::int64_t length = 0;
    const int status = qx::lengthOfFile(dir, name, length);
    if (status != StatusOk)
        return status;
    // Kept: 1 means that the length agrees, where the other file operations use 0 for success.
    return length == expectedSize ? 1 : 0;
}

int getImageSize(const char* dir, const char* name, long& size) {
    std::int64_t length = 0;
    const int status = qx::lengthOfFile(dir, name, length);
    if (status != StatusOk)
        return status;
    if (length > std::numeric_limits<long>::max())
        return StatusWrongParameter;
    size = static_cast<long>(length);
    return StatusOk;
}

int cleanFile(const char* dir, const char* name) {
    if (dir == nullptr || name == nullptr)
        return StatusNullArgument;
    const JoinedPath path(dir, name);
    // Kept: no status, the process ends.
    if (!path.fits())
        qx::fatalError("cleanFile: the path exceeds 255 characters");
    return qx::openJoined(dir, name, OpenMode::WriteText, "Error create file to write!") ? StatusOk
                                                                                         : StatusFileOpenFailed;
}

int copyFile(const char* destination, const char* source) {
    if (destination == nullptr || source == nullptr)
        return StatusOk;
    const File from = qx::openFile(source, OpenMode::ReadBinary);
    qx::Scratch<char> chunk(kCopiedAtOnce);
    // Kept: a source without a copy is not reported, be it for want of memory.
    if (!from || !chunk)
        return StatusOk;
    // Kept: opening empties the destination, the source too when it is the same file.
    const File to = qx::openFile(destination, OpenMode::WriteBinary);
    if (!to)
        return StatusOk;
    std::size_t count = 0;
    while ((count = std::fread(chunk.data(), 1, kCopiedAtOnce, from.get())) > 0)
        std::fwrite(chunk.data(), 1, count, to.get());
    // Kept: a copy that fails half-way is not reported.
    return StatusOk;
}

int codecData(char* buffer, int length) {
    if (buffer == nullptr)
        return StatusOk;
    for (int i = 0; i < length; ++i)
        buffer[i] = static_cast<char>(buffer[i] ^ (i & 0xFF));
    return StatusOk;
}
