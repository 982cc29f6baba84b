#pragma once

#include "kernels/VectorLevel.h"

#include <cstddef>
#include <cstdint>

namespace qx {

// Side of the windows of two-dimensional medians. Two neighbouring windows of 11 share 10 pixels: two times four that
// are put in order once, for all windows that hold them, and a pair.
inline constexpr int kRatioWindow = 11;
inline constexpr int kOrderedPixels = 4;

// Arrays of pixels have room for whole vectors: so many pixels more than counted may be read and written.
inline constexpr int kPixelRoom = 64;

// Largest half-window whose medians are taken from all samples of a window anew.
inline constexpr int kLargestShortHalf = 7;

// Lines of samples that a rolling median follows at once, whatever the level: a multiple of every level's lanes.
inline constexpr int kRollingLines = 16;

using PixelRow = std::uint16_t*;
using ConstPixelRow = const std::uint16_t*;

// What two neighbouring windows of 11 hold: four pixels in order, four others, two more, and one each has alone.
struct WindowPair {
    ConstPixelRow firstFour[kOrderedPixels];
    ConstPixelRow secondFour[kOrderedPixels];
    ConstPixelRow pair[2];
    ConstPixelRow ofFirst;
    ConstPixelRow ofSecond;
};

// The windows of lines that move on together; samples of different lines lie side by side.
struct RollingWindows {
    int size;        // samples of a window
    float* ordered;  // room for one more
    float* arrived;  // the same in the order of arrival
};

// Medians in moving windows. Those of windows with a NaN mean nothing, and where a window holds a negative zero a
// median of zero may have either sign: which value they are depends on the method.
struct WindowKernels {
    // Medians of five pixels above each other for a row and the next one, a stride behind it. above[0] and above[1]
    // hold the two rows above them as they were, and receive these two as they were; `below` is the third row behind
    // the first. The medians take the first row's place, and are written to `next`.
    void (*mediansOfFive)(PixelRow row, std::ptrdiff_t stride, int count, const PixelRow* above, ConstPixelRow below,
                          PixelRow next) noexcept;

    // The pixels of even and of odd index. Nothing behind them is read; a row that lies a stride from this one is
    // fetched for later.
    void (*split)(ConstPixelRow pixels, std::ptrdiff_t stride, int count, PixelRow even, PixelRow odd) noexcept;

    // Orders four pixels at each place.
    void (*orderFours)(const ConstPixelRow* rows, int count, const PixelRow* ordered) noexcept;

    // The medians of two windows at each place.
    void (*mediansOfEleven)(const WindowPair& windows, int count, PixelRow ofFirst, PixelRow ofSecond) noexcept;

    // Medians of even and of odd places, divided by pixels. The ratios that lie a stride from these are fetched for
    // later.
    void (*ratios)(ConstPixelRow even, ConstPixelRow odd, ConstPixelRow pixels, int count, float* ratios,
                   std::ptrdiff_t stride) noexcept;

    // medians[i] is the one of samples[i] .. samples[i + 2 half]; half is 1 .. kLargestShortHalf.
    void (*shortMedians)(const float* samples, int count, int half, float* medians) noexcept;

    // The same for windows of any odd size: line l takes the medians l steps .. (l + 1) steps - 1. steps is a multiple
    // of kRollingLines; samples holds what all lines need, medians is written for the first `count`.
    void (*rollingMedians)(const float* samples, int steps, int count, const RollingWindows& windows,
                           float* medians) noexcept;

    // Half of the widest window for which they are as fast as ranks (numerics/filters/RankedMedians.h), as measured.
    int largestRollingHalf;
};

// The kernels of the vector level in use.
const WindowKernels& windowKernels() noexcept;

QX_DECLARE_TABLES(WindowKernels)

}  // namespace qx
