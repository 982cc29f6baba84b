#pragma once

#include "kernels/VectorLevel.h"

#include <cstddef>
#include <cstdint>

namespace qx {

// Columns of a strip.
inline constexpr int kStripColumns = 32;

// Sums whose terms keep their order, several of them in flight. A stride counts values from row to row.
struct SumKernels {
    // Sums of the first `columns` values of each row, in the order of the columns.
    void (*rowSums)(const float* image, std::ptrdiff_t stride, int rows, int columns, float* sums) noexcept;

    // Sums of strips of kStripColumns columns side by side, each in single precision in the order of rows, then
    // columns.
    void (*stripSums)(const std::uint16_t* image, std::ptrdiff_t stride, int rows, int strips, float* sums) noexcept;

    // sums[i] += factor x[i].
    void (*addMultiple)(const float* x, int count, float factor, float* sums) noexcept;

    // x[i] and z[i] become x[i] c + z[i] s and z[i] c - x[i] s.
    void (*rotate)(float* x, float* z, int count, float c, float s) noexcept;

    // sums[i] = factors[0] columns[i] + factors[1] columns[i + stride] + ... in double precision, in that order.
    void (*columnProducts)(const double* factors, int rows, const double* columns, std::ptrdiff_t stride, int count,
                           double* sums) noexcept;
};

// The kernels of the vector level in use.
const SumKernels& sumKernels() noexcept;

QX_DECLARE_TABLES(SumKernels)

}  // namespace qx
