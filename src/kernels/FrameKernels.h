#pragma once

#include "kernels/VectorLevel.h"

#include <cstddef>
#include <cstdint>

namespace qx {

// Loops over images of 32-bit pixels that gain from wide vectors. A difference of pixels is max(0, image - dark) in
// single precision.
struct FrameKernels {
    // Sum of the differences in double precision: they are whole, so it is exact while it stays below kExactSumLimit.
    double (*differenceSum)(const std::uint32_t* image, const std::uint32_t* dark, std::size_t count) noexcept;

    // The low 16 bits of the differences over a divisor, truncated; 0 where that is no integer of 32 bits.
    void (*differenceRatios)(const std::uint32_t* image, const std::uint32_t* dark, std::size_t count, float divisor,
                             std::uint16_t* ratios) noexcept;

    // The differences times their gains, plus a half.
    void (*multiplied)(const std::uint32_t* image, const std::uint32_t* dark, const float* gains, std::size_t count,
                       float* results) noexcept;

    // The differences over their gains times 10000, or as they are where the gain is 0.
    void (*divided)(const std::uint32_t* image, const std::uint32_t* dark, const std::uint16_t* gains,
                    std::size_t count, float* results) noexcept;

    // The low 32 bits of the values, truncated to 64; 0 where they do not fit in those.
    void (*truncated)(const float* values, std::size_t count, std::uint32_t* results) noexcept;
};

// The kernels of the vector level in use.
const FrameKernels& frameKernels() noexcept;

QX_DECLARE_TABLES(FrameKernels)

}  // namespace qx
