#pragma once

#include "kernels/VectorLevel.h"

#include <cstddef>
#include <cstdint>

namespace qx {

// CRC-32 with the reflected polynomial of IEEE 802.3.
struct CrcKernels {
    // Continues a CRC over more bytes. Start with 0; the value after the last bytes is the result.
    std::uint32_t (*update)(std::uint32_t crc, const unsigned char* bytes, std::size_t count) noexcept;
};

// The kernels of the vector level in use, as far as the processor multiplies without carry.
const CrcKernels& crcKernels() noexcept;

QX_DECLARE_TABLES(CrcKernels)

}  // namespace qx
