#include "numerics/statistics/PixelHistogram.h"

namespace qx {

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
