#include "QxUtils/Files.h"

#include "QxUtils/StatusCode.h"
#include "foundation/JoinedPath.h"
#include "foundation/Scratch.h"
#include "kernels/CrcKernels.h"
#include "platform/Console.h"
#include "platform/FileSystem.h"

#include <cstdio>

namespace {

// Stays in the second-level cache between reading and summing.
constexpr std::size_t kChunkBytes = 256 * 1024;

}  // namespace

int readLocalCRC(const char* dir, const char* name, unsigned long& crc) {
    if (dir == nullptr || name == nullptr)
        return StatusNullArgument;
    const qx::File file = qx::openFile(qx::JoinedPath(dir, name).c_str(), qx::OpenMode::ReadBinary);
    if (!file) {
        // Kept: printed whatever the debug flag.
        qx::printConsole("open file error...\n");
        return StatusFileOpenFailed;
    }
    qx::Scratch<unsigned char> chunk(kChunkBytes);
    if (!chunk)
        return StatusAllocationFailed;
    std::uint32_t value = 0;
    std::size_t count = 0;
    while ((count = std::fread(chunk.data(), 1, kChunkBytes, file.get())) > 0)
        value = qx::crcKernels().update(value, chunk.data(), count);
    if (std::ferror(file.get()) != 0)
        return StatusFileReadFailed;
    crc = value;
    return StatusOk;
}
