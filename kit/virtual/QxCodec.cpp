#include "QxCodec.h"

#include <algorithm>
#include <cstdint>

void reverseCopy(void* destination, const void* source, int count) {
    if (count <= 0)
        return;
    const auto* bytes = static_cast<const std::uint8_t*>(source);
    std::reverse_copy(bytes, bytes + count, static_cast<std::uint8_t*>(destination));
}
