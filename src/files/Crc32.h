#pragma once

#include <cstddef>
#include <cstdint>

namespace qx {

// Continues a CRC-32 (reflected IEEE 802.3 polynomial) over more bytes. Start with crc 0; the value after the last
// bytes is the result.
std::uint32_t updateCrc32(std::uint32_t crc, const unsigned char* bytes, std::size_t count) noexcept;

// How a CRC-32 is computed; every path gives the same value.
enum class CrcPath { Tables, Products, WideProducts };

// Makes updateCrc32 use a path. Returns false, and changes nothing, when the processor lacks it.
bool forceCrcPath(CrcPath path) noexcept;

// The processor's best path.
CrcPath bestCrcPath() noexcept;

}  // namespace qx
