#pragma once

#include "kernels/VectorLevel.h"

#include <cstddef>
#include <cstdint>

namespace qx {

// Values that a pixel may have.
inline constexpr int kPixelValues = 65536;

// A window of values has several tables, which take turns: equal neighbours need not wait for each other. Tables that
// start whole pages apart would be mistaken for each other by the processor.
inline constexpr int kWindowValues = 4000;
inline constexpr int kWindowTables = 4;

// A count a value, and room beside them for what is counted but not merged yet; it is clear before the first pixel.
struct PixelCounts {
    // Counts of the window, then a byte a value, which carries into the counts.
    static constexpr int kWindowRoom = kWindowTables * kWindowValues;
    static constexpr int kRoom = kWindowRoom + kPixelValues / static_cast<int>(sizeof(std::uint32_t));

    std::uint32_t* counts;
    std::uint32_t* room;
    int window;       // its first value, at most kPixelValues - kWindowValues
    bool usesWindow;  // which is in vain where most stretches lie partly in it
    bool isWide;      // what is left is counted in bytes, not at once
};

// Pixels of some rows, whose starts lie a stride apart, and how many pixels ahead others are fetched.
struct PixelRows {
    const std::uint16_t* first;
    std::ptrdiff_t stride;
    int rows;
    std::size_t columns;
    std::ptrdiff_t ahead;
};

// A block of values whose pixels have a common sum.
inline constexpr int kValueBlock = 256;
inline constexpr int kValueBlocks = kPixelValues / kValueBlock;

// Loops over pixels and the counts of their values, below 2^32 in all.
struct HistogramKernels {
    void (*add)(const PixelRows& pixels, const PixelCounts& into) noexcept;

    // Moves what is in the room into the counts.
    void (*merge)(const PixelCounts& into) noexcept;

    // Sums of the counts of kValueBlocks blocks.
    void (*blockSums)(const std::uint32_t* counts, std::uint32_t* sums) noexcept;

    // Puts the level of its value in the place of each pixel. There is an entry more than levels, which may be read.
    void (*replace)(std::uint16_t* pixels, std::size_t count, const std::uint16_t* levels) noexcept;
};

// The kernels of the vector level in use.
const HistogramKernels& histogramKernels() noexcept;

QX_DECLARE_TABLES(HistogramKernels)

}  // namespace qx
