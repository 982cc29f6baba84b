#pragma once

#include "QxUtils/StatusCode.h"
#include "foundation/FloatRows.h"
#include "foundation/ImageView.h"
#include "foundation/Scratch.h"
#include "numerics/statistics/BlockMedians.h"

#include <algorithm>
#include <span>

namespace qx {

// Medians of the whole 32 x 32 blocks of an image that is read row by row, one each: as many as the sides hold.
// `change` is applied to a copy of each row. Returns 0, or 1035 when memory is short.
template <class Change>
int binRows(FloatRows& rows, Change change, const ImageView<float>& medians) {
    ScratchImage<float> memory(rows.width(), kBlockSide);
    if (!memory)
        return StatusAllocationFailed;
    const ImageView<float> strip = memory.view();
    for (int y = 0; y < medians.height; ++y) {
        for (int i = 0; i < kBlockSide; ++i) {
            std::copy_n(rows.row(y * kBlockSide + i), strip.width, strip.row(i));
            change(strip.rowSpan(i));
        }
        blockMedians(strip.data, strip.width, medians.width, medians.row(y));
    }
    return StatusOk;
}

}  // namespace qx
