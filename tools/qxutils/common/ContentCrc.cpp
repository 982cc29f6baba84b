#include "common/ContentCrc.h"

#include <zlib.h>

namespace qx::tool {

std::uint32_t contentCrc(std::string_view bytes, std::uint32_t before) {
    return static_cast<std::uint32_t>(crc32_z(before, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

}  // namespace qx::tool
