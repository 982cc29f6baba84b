#pragma once

#include <cstdint>

namespace qx {

// A big-endian 32-bit value of a file or record in the processor's order, and back.
std::uint32_t networkToHost(std::uint32_t value) noexcept;

}  // namespace qx
