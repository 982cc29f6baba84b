#include "peers/Peers.h"

#include "harness/FileReading.h"

#ifdef QX_BENCH_ZLIB
#include <zlib.h>
#endif

namespace qx::bench {

#ifdef QX_BENCH_ZLIB

Method zlibCrc(const std::filesystem::path& file) {
    return [file, buffer = std::vector<std::uint8_t>(kReadBytes)]() mutable {
        uLong crc = crc32(0, nullptr, 0);
        readInPieces(file, buffer, [&](std::span<const std::uint8_t> bytes) {
            crc = crc32(crc, bytes.data(), static_cast<uInt>(bytes.size()));
        });
        return crc;
    };
}

#else

Method zlibCrc(const std::filesystem::path&) {
    return {};
}

#endif

}  // namespace qx::bench
