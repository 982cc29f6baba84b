#include "QxUtils/Numerics.h"

#include "foundation/AlignedFloats.h"
#include "foundation/Panels.h"
#include "foundation/Scratch.h"
#include "kernels/WindowKernels.h"
#include "numerics/filters/RankedMedians.h"
#include "numerics/statistics/ExchangeSelection.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

namespace {

// What needs the exchange sort itself: it never moves a NaN, and a negative zero ties with zero.
constexpr std::uint32_t kSign = 0x80000000;
bool isNan(float value) noexcept {
    constexpr std::uint32_t kInfinity = 0x7F800000;
    return (std::bit_cast<std::uint32_t>(value) & ~kSign) > kInfinity;
}
bool isNegativeZero(float value) noexcept {
    return std::bit_cast<std::uint32_t>(value) == kSign;
}

bool anyIrregular(std::span<const float> values) noexcept {
    std::uint32_t any = 0;
    for (const float value : values)
        any |= std::uint32_t{isNan(value)} | std::uint32_t{isNegativeZero(value)};
    return any != 0;
}

// Takes those medians that may be wrong as the exchange sort takes them, in windows with an irregular sample. samples
// holds size - 1 more than medians; copy holds size.
template <class Irregular, class Wrong>
void mend(std::span<const float> samples, int size, float* medians, float* copy, Irregular isIrregular,
          Wrong mayBeWrong) noexcept {
    const std::ptrdiff_t windows = std::ssize(samples) - size + 1;
    std::ptrdiff_t done = 0;
    for (std::ptrdiff_t i = 0; i < std::ssize(samples); ++i) {
        if (!isIrregular(samples[i]))
            continue;
        const std::ptrdiff_t end = std::min(i + 1, windows);
        for (std::ptrdiff_t x = std::max(done, i + 1 - size); x < end; ++x)
            if (mayBeWrong(medians[x]))
                medians[x] = qx::exchangeMiddle<qx::SortOrder::Descending>(&samples[x], size, copy);
        done = end;
    }
}

// A NaN may move the median to another sample; a negative zero only raises the question which of the zeros it is.
void mendIrregular(std::span<const float> samples, int size, float* medians, float* copy) noexcept {
    mend(samples, size, medians, copy, isNan, [](float) { return true; });
    mend(samples, size, medians, copy, isNegativeZero, [](float median) { return median == 0.0f; });
}

// Memory for the samples of a piece as they were, of so many medians at most, and for those of a window.
struct Buffers {
    float* samples;
    int medians;
    float* window;
};

// Replaces the data by medians, piece after piece; take(samples, count, medians) takes those of a piece.
template <class Take>
void filterInPieces(float* data, int n, int half, const Buffers& buffers, Take take) noexcept {
    const int context = 2 * half;
    float* const samples = buffers.samples;
    std::copy_n(data, context, samples);
    // Kept: where no window is centred the samples stay.
    qx::forPanels(n - context, buffers.medians, [&](int first, int count) {
        float* const medians = data + half + first;
        std::copy_n(medians + half, count, samples + context);
        take(samples, count, medians);
        if (const std::span<const float> piece(samples, samples + context + count); anyIrregular(piece))
            mendIrregular(piece, context + 1, medians, buffers.window);
        std::copy_n(samples + count, context, samples);
    });
}

void filterShort(float* data, int n, int half) noexcept {
    constexpr int kBuffer = 4096;
    std::array<float, kBuffer> samples;
    std::array<float, 2 * qx::kLargestShortHalf + 1> window;
    const qx::WindowKernels& kernels = qx::windowKernels();
    const auto take = [&](const float* piece, int count, float* medians) {
        kernels.shortMedians(piece, count, half, medians);
    };
    filterInPieces(data, n, half, {samples.data(), kBuffer - 2 * half, window.data()}, take);
}

constexpr std::int64_t kLines = qx::kRollingLines;

// How many steps each of the lines of a piece takes, one a median: a multiple of kLines.
// - So many that the lines together take all medians of the data, where a piece can hold them.
// - Else kStepsPerSample for every sample of a window: before a line takes its first step its window has to be filled,
//   which the steps have to outweigh.
int stepsOfLine(std::int64_t medians, std::int64_t windowSize) noexcept {
    constexpr std::int64_t kStepsPerSample = 8;
    const auto quotientRoundedUp = [](std::int64_t value) { return (value + kLines - 1) / kLines; };
    const std::int64_t steps = std::min(kStepsPerSample * windowSize, quotientRoundedUp(medians));
    return static_cast<int>(quotientRoundedUp(steps) * kLines);
}

void filterRolling(float* data, int n, int half) noexcept {
    const int size = 2 * half + 1;
    const int steps = stepsOfLine(n - size + 1, size);
    qx::Scratch<float> samples(steps * kLines + size - 1);
    qx::Scratch<float> window(size);
    qx::AlignedFloats ordered((size + 1) * kLines);
    qx::AlignedFloats arrived(size * kLines);
    if (!samples || !window || !ordered || !arrived)
        return;
    // The kernel reads what all lines need, also where the last piece has fewer medians.
    samples.clear();
    const qx::RollingWindows windows = {size, ordered.data(), arrived.data()};
    const qx::WindowKernels& kernels = qx::windowKernels();
    const auto take = [&](const float* piece, int count, float* medians) {
        kernels.rollingMedians(piece, steps, count, windows, medians);
    };
    const auto medians = static_cast<int>(std::min<std::int64_t>(steps * kLines, n));
    filterInPieces(data, n, half, {samples.data(), medians, window.data()}, take);
}

// Medians of a piece: for so many the ranks of the window before them are taken once more.
std::int64_t rankedMedians(std::int64_t medians, std::int64_t windowSize) noexcept {
    constexpr std::int64_t kWindows = 4;
    constexpr std::int64_t kFewest = 4096;
    return std::min(medians, std::max(kFewest, kWindows * windowSize));
}

void filterRanked(float* data, int n, int half) noexcept {
    const int size = 2 * half + 1;
    const std::int64_t medians = rankedMedians(n - size + 1, size);
    qx::Scratch<float> samples(medians + size - 1);
    qx::Scratch<float> window(size);
    qx::RankedMedians ranked(half, samples.count());
    if (!samples || !window || !ranked)
        return;
    const auto take = [&](const float* piece, int count, float* found) { ranked.take(piece, count, found); };
    filterInPieces(data, n, half, {samples.data(), static_cast<int>(medians), window.data()}, take);
}

}  // namespace

void medianFilter(float* data, int n, int r) {
    if (data == nullptr || r < 1 || n <= 2 * std::int64_t{r})
        return;
    if (r <= qx::kLargestShortHalf)
        filterShort(data, n, r);
    else if (r <= qx::windowKernels().largestRollingHalf)
        filterRolling(data, n, r);
    else
        filterRanked(data, n, r);
}
