#pragma once

#include <cstdint>
#include <string_view>

namespace qx::tool {

// CRC-32 of bytes, the one that readLocalCRC tells of a file. That of bytes in two pieces is
// contentCrc(second, contentCrc(first)).
std::uint32_t contentCrc(std::string_view bytes, std::uint32_t before = 0);

}  // namespace qx::tool
