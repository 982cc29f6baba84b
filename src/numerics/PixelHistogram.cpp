#include "numerics/PixelHistogram.h"

#include <cstring>

namespace qx {

void countPixels(const std::uint16_t* pixels, std::size_t count, std::uint32_t* counts) noexcept {
    constexpr std::size_t kPixelsPerLoad = 4;
    std::size_t i = 0;
    for (; i + kPixelsPerLoad <= count; i += kPixelsPerLoad) {
        std::uint64_t four;
        std::memcpy(&four, pixels + i, sizeof four);
        ++counts[four & 0xFFFF];
        ++counts[(four >> 16) & 0xFFFF];
        ++counts[(four >> 32) & 0xFFFF];
        ++counts[four >> 48];
    }
    for (; i < count; ++i)
        ++counts[pixels[i]];
}

int valueOfRank(const std::uint32_t* counts, int first, int last, std::uint64_t rank) noexcept {
    constexpr int kBlock = 64;
    std::uint64_t below = 0;
    int value = first;
    for (; value + kBlock <= last; value += kBlock) {
        std::uint64_t inBlock = 0;
        for (int i = 0; i < kBlock; ++i)
            inBlock += counts[value + i];
        if (below + inBlock > rank)
            break;
        below += inBlock;
    }
    while (value < last && below + counts[value] <= rank)
        below += counts[value++];
    return value;
}

}  // namespace qx
