#include "QxUtils/Numerics.h"

#include "foundation/AlignedFloats.h"
#include "foundation/Scratch.h"
#include "kernels/WindowKernels.h"
#include "numerics/statistics/ExchangeSelection.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <span>

namespace {

using qx::WindowKernels;

// Whether a value needs the exchange sort itself: a NaN, which never moves, or a negative zero, which ties with zero.
bool isIrregular(float value) noexcept {
    constexpr std::uint32_t kSign = 0x80000000;
    constexpr std::uint32_t kInfinity = 0x7F800000;
    const auto bits = std::bit_cast<std::uint32_t>(value);
    return bits == kSign || (bits & ~kSign) > kInfinity;
}

bool anyIrregular(std::span<const float> values) noexcept {
    std::uint32_t any = 0;
    for (const float value : values)
        any |= static_cast<std::uint32_t>(isIrregular(value));
    return any != 0;
}

// Takes the medians of the windows with an irregular sample by the described method. samples holds size - 1 more than
// medians; copy holds size.
void mendIrregular(std::span<const float> samples, std::span<float> medians, float* copy) noexcept {
    const std::size_t size = samples.size() - medians.size() + 1;
    std::size_t done = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (!isIrregular(samples[i]))
            continue;
        const std::size_t end = std::min(i + 1, medians.size());
        for (std::size_t x = std::max(done, i + 1 < size ? 0 : i + 1 - size); x < end; ++x)
            medians[x] = qx::exchangeMiddle<qx::SortOrder::Descending>(&samples[x], static_cast<int>(size), copy);
        done = end;
    }
}

// Replaces data by medians, piece after piece. buffer holds the samples of a piece as they were; take(samples, medians)
// takes their medians.
template <class Take>
void filterInPieces(std::span<float> data, std::size_t half, std::span<float> buffer, float* copy, Take take) noexcept {
    const std::size_t context = 2 * half;
    // Kept: where no window is centred the samples stay.
    std::span<float> centres = data.subspan(half, data.size() - context);
    std::copy_n(data.data(), context, buffer.data());
    while (!centres.empty()) {
        const std::span<float> medians = centres.first(std::min(buffer.size() - context, centres.size()));
        const std::span<const float> samples = buffer.first(medians.size() + context);
        std::copy_n(medians.data() + half, medians.size(), buffer.data() + context);
        take(samples, medians);
        if (anyIrregular(samples))
            mendIrregular(samples, medians, copy);
        std::copy_n(buffer.data() + medians.size(), context, buffer.data());
        centres = centres.subspan(medians.size());
    }
}

void filterShort(std::span<float> data, int half) noexcept {
    constexpr std::size_t kBuffer = 4096;
    std::array<float, kBuffer> buffer;
    std::array<float, 2 * qx::kLargestShortHalf + 1> copy;
    const WindowKernels& kernels = qx::windowKernels();
    filterInPieces(data, static_cast<std::size_t>(half), buffer, copy.data(),
                   [&](std::span<const float> samples, std::span<float> medians) {
                       kernels.shortMedians(samples.data(), static_cast<int>(medians.size()), half, medians.data());
                   });
}

// The lines' windows have to be filled before they move, which the steps have to outweigh.
void filterRolling(std::span<float> data, int half) noexcept {
    constexpr std::int64_t kStepsPerSample = 8;
    constexpr std::int64_t kLines = qx::kRollingLines;
    const std::int64_t size = 2 * std::int64_t{half} + 1;
    const std::int64_t allSteps = (static_cast<std::int64_t>(data.size()) - size + kLines) / kLines;
    const auto steps = static_cast<int>((std::min(kStepsPerSample * size, allSteps) + kLines - 1) / kLines * kLines);
    const auto places = static_cast<std::size_t>(size) * qx::kRollingLines;
    qx::Scratch<float> buffer(static_cast<std::size_t>(steps) * qx::kRollingLines + static_cast<std::size_t>(size) - 1);
    qx::Scratch<float> copy(static_cast<std::size_t>(size));
    qx::AlignedFloats ordered(places + qx::kRollingLines);
    qx::AlignedFloats arrived(places);
    if (!buffer || !copy || !ordered || !arrived)
        return;
    buffer.clear();
    const qx::RollingWindows windows = {static_cast<int>(size), ordered.data(), arrived.data()};
    const WindowKernels& kernels = qx::windowKernels();
    const auto take = [&](std::span<const float> piece, std::span<float> medians) {
        kernels.rollingMedians(piece.data(), steps, static_cast<int>(medians.size()), windows, medians.data());
    };
    filterInPieces(data, static_cast<std::size_t>(half), buffer.span(), copy.data(), take);
}

}  // namespace

void medianFilter(float* data, int n, int r) {
    if (data == nullptr || r < 1 || n <= 2 * std::int64_t{r})
        return;
    const std::span<float> samples(data, static_cast<std::size_t>(n));
    if (r <= qx::kLargestShortHalf)
        filterShort(samples, r);
    else
        filterRolling(samples, r);
}
