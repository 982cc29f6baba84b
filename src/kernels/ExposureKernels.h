#pragma once

#include "kernels/RankKernels.h"
#include "kernels/VectorLevel.h"

#include <cstddef>
#include <cstdint>

namespace qx {

// Differences lie in memory with their highest bit turned over, so that signed numbers have their order.
inline constexpr int kTurnedBit = 0x8000;

// Where the search for a median begins: a pixel that it may be close to, and how far apart neighbouring ranks lie.
struct MedianGuess {
    int median = 32768;
    float spacing = 0.5f;
};

// Steps over a block of kBlockSide x kBlockSide differences of an exposed and a dark image, which are 0 where the dark
// image is brighter. A stride counts pixels from row to row.
struct ExposureKernels {
    // Forms a block's differences, row by row without gaps; returns the lowest one.
    int (*differences)(const std::uint16_t* image, const std::uint16_t* dark, std::ptrdiff_t stride,
                       std::uint16_t* block) noexcept;

    // The upper middle of a block; the guess becomes what a similar block may begin with.
    std::uint16_t (*median)(const std::uint16_t* block, MedianGuess& guess) noexcept;

    // Adds the columns of a block, row by row, to two sums each.
    void (*addColumns)(const std::uint16_t* block, float* sums, float* others) noexcept;
};

// The kernels of the vector level in use.
const ExposureKernels& exposureKernels() noexcept;

QX_DECLARE_TABLES(ExposureKernels)

}  // namespace qx
