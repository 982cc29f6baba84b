#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// CRC-32 of IEEE 802.3 without any tricks.
namespace qx::plain {

// One bit at a time.
std::uint32_t crcBitByBit(const void* data, std::size_t size);

// One byte at a time through a table of 256 entries.
std::uint32_t crcByTable(const void* data, std::size_t size);

// crcByTable of a file that is read into memory as a whole; 0 for a file that cannot be read.
std::uint32_t crcOfFile(const std::string& path);

}  // namespace qx::plain
