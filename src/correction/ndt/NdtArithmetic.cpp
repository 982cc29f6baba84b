#include "correction/ndt/NdtArithmetic.h"

#include "foundation/CacheLine.h"
#include "kernels/FrameKernels.h"
#include "kernels/PixelKernels.h"

#include <algorithm>
#include <array>

namespace qx {
namespace {

constexpr double kFullGain = 10000.0;

// The sum in the order of the pixels, where that matters.
double sumOfDifferences(const std::uint32_t* bright, const std::uint32_t* dark, std::size_t count) noexcept {
    const double sum = frameKernels().differenceSum(bright, dark, count);
    if (sum < kExactSumLimit)
        return sum;
    double ordered = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        const float difference = static_cast<float>(bright[i]) - static_cast<float>(dark[i]);
        ordered += static_cast<double>(difference > 0.0f ? difference : 0.0f);
    }
    return ordered;
}

}  // namespace

// Kept: only the fixed gain rounds.
void correctOffsetAndGain(const std::uint32_t* image, const std::uint32_t* dark, const NdtGain& gain, std::size_t first,
                          std::size_t count, float* results) noexcept {
    if (gain.fixed != nullptr)
        frameKernels().multiplied(image + first, dark + first, gain.fixed + first, count, results);
    else
        frameKernels().divided(image + first, dark + first, gain.linear + first, count, results);
}

void correctOffsetAndGain(std::uint32_t* image, const std::uint32_t* dark, const NdtGain& gain,
                          std::size_t count) noexcept {
    constexpr std::size_t kAtOnce = 2048;
    alignas(kCacheLineBytes) std::array<float, kAtOnce> results;
    // From the second piece on the image's vectors lie within cache lines.
    std::size_t atOnce = kAtOnce - reinterpret_cast<std::uintptr_t>(image) % kCacheLineBytes / sizeof *image;
    for (std::size_t first = 0; first < count;) {
        const std::size_t piece = std::min(atOnce, count - first);
        correctOffsetAndGain(image, dark, gain, first, piece, results.data());
        frameKernels().truncated(results.data(), piece, image + first);
        first += piece;
        atOnce = kAtOnce;
    }
}

void ndtGains(const std::uint32_t* bright, const std::uint32_t* dark, std::size_t count,
              std::uint16_t* gains) noexcept {
    const double mean = sumOfDifferences(bright, dark, count) / static_cast<double>(count);
    // Kept: nothing guards the division when the bright image shows no signal.
    frameKernels().differenceRatios(bright, dark, count, static_cast<float>(mean / kFullGain), gains);
}

}  // namespace qx
