#include "platform/ByteOrder.h"

#include <array>
#include <bit>

namespace qx {

std::uint32_t networkToHost(std::uint32_t value) noexcept {
    const auto bytes = std::bit_cast<std::array<std::uint8_t, sizeof value>>(value);
    std::uint32_t host = 0;
    for (const std::uint8_t byte : bytes)
        host = (host << 8) | byte;
    return host;
}

}  // namespace qx
