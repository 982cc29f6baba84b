#pragma once

#include "kernels/VectorLevel.h"

#include <cstddef>
#include <cstdint>

namespace qx {

// Deviations up to this have squares that are exact in single precision.
inline constexpr int kNarrowDeviation = 4096;

// Moments of pixels about a centre, exact; valid only when every deviation is at most kNarrowDeviation.
struct NarrowMoments {
    bool valid;
    std::int64_t sum;
    std::int64_t squares;
    int lowest;  // deviations
    int highest;
};

// Count and sum of the values that a stretch of a histogram holds.
struct HistogramSum {
    std::int64_t count;
    std::int64_t sum;
};

// Integers below this are exact in double precision, and so is every partial sum of non-negative integers whose total
// is: such a sum does not depend on the order of its terms.
inline constexpr double kExactSumLimit = 9007199254740992.0;

// Loops over pixels and histograms that gain from wide vectors. Histograms hold one count a value, below 2^31; a
// stretch is the values first .. last, both included.
struct PixelKernels {
    std::int64_t (*sum)(const std::uint16_t* pixels, std::size_t count) noexcept;
    NarrowMoments (*narrowMoments)(const std::uint16_t* pixels, std::size_t count, int centre) noexcept;

    // Sum of the squared deviations from a centre, each rounded to single precision: exact while it stays below
    // kExactSumLimit.
    double (*squares)(const std::uint16_t* pixels, std::size_t count, int centre) noexcept;

    // Adds an offset in single precision; sums below 0 become 0, those from 65535 on 65535, others lose their fraction.
    void (*shift)(std::uint16_t* pixels, std::size_t count, float offset) noexcept;

    HistogramSum (*histogramSum)(const std::uint32_t* counts, int first, int last) noexcept;

    // As squares, of the pixels that the histogram holds.
    double (*histogramSquares)(const std::uint32_t* counts, int first, int last, int centre) noexcept;
};

// The kernels of the vector level in use.
const PixelKernels& pixelKernels() noexcept;

QX_DECLARE_TABLES(PixelKernels)

}  // namespace qx
