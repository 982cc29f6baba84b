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

// So many blocks that lie side by side are read at a time.
inline constexpr int kBlocksAtOnce = 4;

// The first of `count` blocks side by side, at most kBlocksAtOnce, in an exposed and a dark image. The stride counts
// pixels from row to row.
struct ExposedBlocks {
    const std::uint16_t* image;
    const std::uint16_t* dark;
    std::ptrdiff_t stride;
    int count;
};

// A block's share of the blocks that are read next: kRowsAhead of their rows, in both images. The first one lies so
// many pixels behind the images' first ones; there may be no such rows.
inline constexpr int kRowsAhead = kBlockSide / kBlocksAtOnce;
struct PixelsAhead {
    const std::uint16_t* image;
    const std::uint16_t* dark;
    std::ptrdiff_t offset;
    std::ptrdiff_t stride;
};

// Steps over blocks of kBlockSide x kBlockSide differences of an exposed and a dark image, which are 0 where the dark
// image is brighter.
struct ExposureKernels {
    // Forms the differences, block after block, each row by row without gaps, and finds the lowest one of each block.
    void (*differences)(const ExposedBlocks& exposed, std::uint16_t* differences, int* lowest) noexcept;

    // The upper middle of a block; fetches pixels meanwhile. The guess becomes what a similar block may begin with.
    std::uint16_t (*median)(const std::uint16_t* block, const PixelsAhead& ahead, MedianGuess& guess) noexcept;

    // Adds the columns of a block, row by row, to two sums each.
    void (*addColumns)(const std::uint16_t* block, float* sums, float* others) noexcept;
};

// The kernels of the vector level in use.
const ExposureKernels& exposureKernels() noexcept;

QX_DECLARE_TABLES(ExposureKernels)

}  // namespace qx
