#include "files/ContentCrc.h"

#if defined QXUTILS_DEFLATE
#include <libdeflate.h>
#elif defined QXUTILS_ZLIB
#include <zlib.h>
#else
#include <array>
#endif

namespace qx::tool {

#if defined QXUTILS_DEFLATE

std::uint32_t contentCrc(std::string_view bytes, std::uint32_t before) {
    return libdeflate_crc32(before, bytes.data(), bytes.size());
}

#elif defined QXUTILS_ZLIB

std::uint32_t contentCrc(std::string_view bytes, std::uint32_t before) {
    return static_cast<std::uint32_t>(crc32_z(before, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

#else

namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;

constexpr std::array<std::uint32_t, 256> remainders() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        table[byte] = byte;
        for (int bit = 0; bit < 8; ++bit)
            table[byte] = table[byte] >> 1 ^ (table[byte] % 2 * kPolynomial);
    }
    return table;
}

}  // namespace

std::uint32_t contentCrc(std::string_view bytes, std::uint32_t before) {
    static constexpr std::array<std::uint32_t, 256> kRemainders = remainders();
    std::uint32_t crc = ~before;
    for (const char byte : bytes)
        crc = crc >> 8 ^ kRemainders[(crc ^ static_cast<unsigned char>(byte)) & 0xFF];
    return ~crc;
}

#endif

}  // namespace qx::tool
