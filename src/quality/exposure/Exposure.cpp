#include "quality/exposure/Exposure.h"

#include "numerics/statistics/BlockMedians.h"

#include <array>

namespace qx {

WORD blockMedian(const Exposure& exposure, int blockRow, int blockColumn) noexcept {
    std::array<WORD, kBlockSide * kBlockSide> pixels;
    for (int i = 0; i < kBlockSide; ++i)
        exposure.differences(blockRow * kBlockSide + i, blockColumn * kBlockSide, kBlockSide, &pixels[i * kBlockSide]);
    return upperMiddle(pixels);
}

}  // namespace qx
