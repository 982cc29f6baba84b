#pragma once

#include <cstddef>
#include <cstdint>

namespace qx {

// Continues a CRC-32 (reflected IEEE 802.3 polynomial) over more bytes. Start with crc 0; the value after the last
// bytes is the result.
std::uint32_t updateCrc32(std::uint32_t crc, const unsigned char* bytes, std::size_t count) noexcept;

// Makes updateCrc32 use its tables even where the processor has carry-less multiplication. Returns whether it has it.
bool forceCrcTables(bool tablesOnly) noexcept;

}  // namespace qx
