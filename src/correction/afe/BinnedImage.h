#pragma once

#include "QxUtils/StatusCode.h"
#include "foundation/FloatRows.h"
#include "foundation/Scratch.h"
#include "numerics/statistics/BlockMedians.h"

#include <algorithm>
#include <cstddef>

namespace qx {

// Medians of the whole 32 x 32 blocks of an image that is read row by row; `change` is applied to a copy of each row.
// Returns 0, or 1035 when memory is short.
template <class Change>
int binRows(FloatRows& rows, int width, int height, Change change, float* blocks) {
    const auto rowSize = static_cast<std::size_t>(width);
    Scratch<float> strip(rowSize * kBlockSide);
    if (!strip)
        return StatusAllocationFailed;
    const int blockColumns = width / kBlockSide;
    for (int y = 0; y + kBlockSide <= height; y += kBlockSide, blocks += blockColumns) {
        for (int i = 0; i < kBlockSide; ++i) {
            float* const row = strip.data() + static_cast<std::size_t>(i) * rowSize;
            std::copy_n(rows.row(y + i), rowSize, row);
            change(row);
        }
        blockMedians(strip.data(), width, blockColumns, blocks);
    }
    return StatusOk;
}

}  // namespace qx
