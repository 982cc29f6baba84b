#pragma once

#include "kernels/RankKernels.h"
#include "kernels/VectorLevel.h"

#include <cstddef>
#include <cstdint>

namespace qx {

// Columns that are sampled together: so many panels of kPanelColumns columns at most.
inline constexpr int kSampledPanels = 4;

// Columns of fewer values are not worth a sample.
inline constexpr int kFewestSampledRows = 768;

// Values that have a rank in their column, where a sample of the column tells about where they lie.
struct ColumnKernels {
    // The values of a rank in ascending order, counted from 0, of `panels` panels of kPanelColumns columns side by side
    // with kFewestSampledRows rows or more; a stride counts values from row to row, and codes holds a byte a value.
    // unsettled receives a bit for each column of each panel whose value was not found: where the sample is of few
    // values or misses the rank, with infinities, negative zeros or what is no number, or with too many values about
    // the same. The values of other columns are bit for bit those of columnRanks.
    void (*sampledRanks)(const float* columns, std::ptrdiff_t stride, int panels, int rows, int rank,
                         std::int8_t* codes, float* values, std::uint64_t* unsettled) noexcept;
};

// The kernels of the vector level in use.
const ColumnKernels& columnKernels() noexcept;

QX_DECLARE_TABLES(ColumnKernels)

}  // namespace qx
