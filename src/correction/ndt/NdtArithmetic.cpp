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
double sumOfDifferences(std::span<const std::uint32_t> bright, std::span<const std::uint32_t> dark) noexcept {
    const double sum = frameKernels().differenceSum(bright.data(), dark.data(), bright.size());
    if (sum < kExactSumLimit)
        return sum;
    double ordered = 0.0;
    for (std::size_t i = 0; i < bright.size(); ++i) {
        const float light = bright[i];
        const float offset = dark[i];
        const double difference = light - offset;
        ordered += std::max(difference, 0.0);
    }
    return ordered;
}

// Kept: only the fixed gain rounds.
void apply(std::span<const float> gains, const NdtFrame& frame, float* results) noexcept {
    frameKernels().multiplied(frame.image.data(), frame.dark.data(), gains.data(), gains.size(), results);
}

void apply(std::span<const std::uint16_t> gains, const NdtFrame& frame, float* results) noexcept {
    frameKernels().divided(frame.image.data(), frame.dark.data(), gains.data(), gains.size(), results);
}

}  // namespace

NdtFrame NdtFrame::part(std::size_t first, std::size_t count) const noexcept {
    const auto partOf = [=](const auto& gains) -> NdtGain { return gains.subspan(first, count); };
    return {image.subspan(first, count), dark.subspan(first, count), std::visit(partOf, gain)};
}

void correctOffsetAndGain(const NdtFrame& frame, std::span<float> results) noexcept {
    std::visit([&](const auto& gains) { apply(gains, frame, results.data()); }, frame.gain);
}

void correctOffsetAndGain(const NdtFrame& frame) noexcept {
    constexpr std::size_t kAtOnce = 2048;
    constexpr std::size_t kPixelsALine = kCacheLineBytes / sizeof(std::uint32_t);
    alignas(kCacheLineBytes) std::array<float, kAtOnce> results;
    const std::size_t pixels = frame.image.size();
    // From the second piece on the image's vectors lie within cache lines.
    std::size_t atOnce = kAtOnce - kPixelsALine + valuesBeforeLine(frame.image.data());
    for (std::size_t first = 0; first < pixels;) {
        const NdtFrame piece = frame.part(first, std::min(atOnce, pixels - first));
        correctOffsetAndGain(piece, results);
        frameKernels().truncated(results.data(), piece.image.size(), piece.image.data());
        first += piece.image.size();
        atOnce = kAtOnce;
    }
}

void ndtGains(std::span<const std::uint32_t> bright, std::span<const std::uint32_t> dark,
              std::span<std::uint16_t> gains) noexcept {
    const double mean = sumOfDifferences(bright, dark) / gains.size();
    // Kept: nothing guards the division when the bright image shows no signal.
    frameKernels().differenceRatios(bright.data(), dark.data(), gains.size(), static_cast<float>(mean / kFullGain),
                                    gains.data());
}

}  // namespace qx
