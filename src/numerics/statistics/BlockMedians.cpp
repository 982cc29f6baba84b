#include "numerics/statistics/BlockMedians.h"

#include "QxUtils/Numerics.h"

#include <algorithm>
#include <array>

namespace qx {
namespace {

constexpr int kBlockValues = kBlockSide * kBlockSide;

// The selection's own steps, for blocks with a NaN or a negative zero: which value has the rank depends on them there.
float steppedMedian(const float* block, std::ptrdiff_t stride) noexcept {
    std::array<float, kBlockValues> values;
    for (int row = 0; row < kBlockSide; ++row)
        std::copy_n(block + row * stride, kBlockSide, values.begin() + row * kBlockSide);
    return getFloatMedianByQuickMethod(values.data(), kBlockValues);
}

}  // namespace

void blockMedians(const float* rows, std::ptrdiff_t stride, int blocks, float* medians) noexcept {
    const RankKernels& kernels = rankKernels();
    for (int b = 0; b < blocks; ++b) {
        const float* const block = rows + b * kBlockSide;
        if (!kernels.blockRank(block, stride, kBlockValues / 2, medians + b))
            medians[b] = steppedMedian(block, stride);
    }
}

void gridBlockMedians(const WORD* rows, std::ptrdiff_t stride, int blocks, float* medians) noexcept {
    constexpr int kPixels = kGridBlockSide * kGridBlockSide;
    for (int b = 0; b < blocks; ++b)
        medians[b] = rankKernels().pixelBlockRank(rows + b * kGridBlockSide, stride, kPixels / 2);
}

}  // namespace qx
