#pragma once

#include "kernels/VectorLevel.h"

#include <cstddef>
#include <cstdint>

namespace qx {

// Blocks whose medians are taken have sides of so many values.
inline constexpr int kBlockSide = 32;

// Sides of the blocks of pixels in which the uniformity of an image is measured.
inline constexpr int kGridBlockSide = 64;

// Columns of which the medians are taken at a time: any multiple of the lane columns up to the panel's.
inline constexpr int kLaneColumns = 16;
inline constexpr int kPanelColumns = 64;

// Values that have a rank in ascending order, counted from 0. A stride counts values from row to row.
struct RankKernels {
    // The value of a rank of a kBlockSide x kBlockSide block. False where the block
    // holds a NaN or a negative zero: which value takes the rank depends on the method then.
    bool (*blockRank)(const float* block, std::ptrdiff_t stride, int rank, float* value) noexcept;

    // As blockRank for each of `columns` columns of `rows` values; keys holds columns x rows numbers. Returns a bit for
    // each column that holds a NaN or a negative zero.
    std::uint64_t (*columnRanks)(const float* panel, std::ptrdiff_t stride, int columns, int rows, int rank,
                                 std::int32_t* keys, float* values) noexcept;

    // The pixel of a rank, which is below count.
    std::uint16_t (*pixelRank)(const std::uint16_t* pixels, std::size_t count, std::size_t rank) noexcept;

    // As pixelRank, of a block of kGridBlockSide x kGridBlockSide pixels; stride counts pixels from row to row.
    std::uint16_t (*pixelBlockRank)(const std::uint16_t* block, std::ptrdiff_t stride, int rank) noexcept;
};

// The kernels of the vector level in use.
const RankKernels& rankKernels() noexcept;

QX_DECLARE_TABLES(RankKernels)

}  // namespace qx
