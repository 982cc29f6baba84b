#pragma once

#include <cstddef>
#include <cstdint>

namespace qx {

// Blocks whose medians are taken have sides of so many values.
inline constexpr int kBlockSide = 32;

// Columns of which the medians are taken at a time: any multiple of the lane columns up to the panel's.
inline constexpr int kLaneColumns = 16;
inline constexpr int kPanelColumns = 64;

// Columns of a strip.
inline constexpr int kStripColumns = 32;

// Loops over single-precision values that gain from wide vectors. A stride counts values from row to row.
struct FloatKernels {
    // The value of a rank in ascending order, counted from 0, of a kBlockSide x kBlockSide block. False where the block
    // holds a NaN or a negative zero: which value takes the rank depends on the method then.
    bool (*blockRank)(const float* block, std::ptrdiff_t stride, int rank, float* value) noexcept;

    // As blockRank for each of `columns` columns of `rows` values; keys holds columns x rows numbers. Returns a bit for
    // each column that holds a NaN or a negative zero.
    std::uint64_t (*columnRanks)(const float* panel, std::ptrdiff_t stride, int columns, int rows, int rank,
                                 std::int32_t* keys, float* values) noexcept;

    // Sums of the first `columns` values of each row, in the order of the columns.
    void (*rowSums)(const float* image, std::ptrdiff_t stride, int rows, int columns, float* sums) noexcept;

    // Sums of strips of kStripColumns columns side by side, each in single precision in the order of rows, then
    // columns.
    void (*stripSums)(const std::uint16_t* image, std::ptrdiff_t stride, int rows, int strips, float* sums) noexcept;

    // Values at or below 0 become `floor`; memory is written only where there are such values.
    void (*raise)(float* row, int count, float floor) noexcept;

    // sums[x] += row[x].
    void (*add)(const float* row, int count, float* sums) noexcept;

    // sums[i] += factor x[i].
    void (*addMultiple)(const float* x, int count, float factor, float* sums) noexcept;

    // x[i] and z[i] become x[i] c + z[i] s and z[i] c - x[i] s.
    void (*rotate)(float* x, float* z, int count, float c, float s) noexcept;

    // sums[i] = factors[0] columns[i] + factors[1] columns[i + stride] + ... in double precision, in that order.
    void (*columnProducts)(const double* factors, int rows, const double* columns, std::ptrdiff_t stride, int count,
                           double* sums) noexcept;

    // Multiplies the values below `limit`, each by its factor.
    void (*scaleBelow)(float* row, int count, const float* factors, float limit) noexcept;
};

// The kernels of the vector level in use.
const FloatKernels& floatKernels() noexcept;

// One set a level, each compiled for it.
extern const FloatKernels kFloatKernelsBaseline;
extern const FloatKernels kFloatKernelsV3;
extern const FloatKernels kFloatKernelsV4;

}  // namespace qx
