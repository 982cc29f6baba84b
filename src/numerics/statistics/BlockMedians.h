#pragma once

#include "QxUtils/Types.h"
#include "kernels/RankKernels.h"

#include <cstddef>

namespace qx {

// Medians (the upper middle) of blocks of kBlockSide x kBlockSide values that lie side by side, bit for bit those of
// getFloatMedianByQuickMethod. stride: values from row to row.
void blockMedians(const float* rows, std::ptrdiff_t stride, int blocks, float* medians) noexcept;

// As blockMedians, of pixels in blocks of kGridBlockSide x kGridBlockSide.
void gridBlockMedians(const WORD* rows, std::ptrdiff_t stride, int blocks, float* medians) noexcept;

}  // namespace qx
