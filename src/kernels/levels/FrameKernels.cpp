#include "kernels/FrameKernels.h"
#include "kernels/levels/VectorLanes.h"

namespace qx {
namespace {

constexpr float kTwoTo31 = 2147483648.0f;
constexpr float kTwoTo32 = 4294967296.0f;
constexpr float kFullGain = 10000.0f;
constexpr std::int32_t kLowestInt = -2147483647 - 1;

// Both halves are exact, so their sum is rounded once.
Floats loadLongs(const std::uint32_t* pixels) {
#if defined(__AVX512F__)
    return Floats(_mm512_cvtepu32_ps(__m512i(loadInts(pixels))));
#else
    const Uints values = Uints(loadInts(pixels));
    return toFloats(Ints(values >> 16)) * 65536.0f + toFloats(Ints(values & 0xFFFF));
#endif
}

Floats differences(const std::uint32_t* image, const std::uint32_t* dark) {
    const Floats difference = loadLongs(image) - loadLongs(dark);
    return difference > 0.0f ? difference : Floats{};
}

float difference(std::uint32_t image, std::uint32_t dark) {
    const float value = static_cast<float>(image) - static_cast<float>(dark);
    return value > 0.0f ? value : 0.0f;
}

double differenceSum(const std::uint32_t* image, const std::uint32_t* dark, std::size_t count) noexcept {
    Doubles low{};
    Doubles high{};
    std::size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        fetchAhead(image + i);
        fetchAhead(dark + i);
        const Floats values = differences(image + i, dark + i);
        low += lowDoubles(values);
        high += highDoubles(values);
    }
    double sum = sumOfLanes(low + high);
    for (; i < count; ++i)
        sum += static_cast<double>(difference(image[i], dark[i]));
    return sum;
}

std::uint16_t truncatedShort(float value) {
    return value > -kTwoTo31 && value < kTwoTo31 ? static_cast<std::uint16_t>(static_cast<std::int32_t>(value)) : 0;
}

void differenceRatios(const std::uint32_t* image, const std::uint32_t* dark, std::size_t count, float divisor,
                      std::uint16_t* ratios) noexcept {
    std::size_t i = 0;
    const auto at = [&](std::size_t k) { return truncatedInts(differences(image + k, dark + k) / divisor) & 0xFFFF; };
    for (; i + 2 * kLanes <= count; i += 2 * kLanes) {
        fetchAhead(image + i);
        fetchAhead(dark + i);
        fetchAhead(image + i + kLanes);
        fetchAhead(dark + i + kLanes);
        storePixels(ratios + i, at(i), at(i + kLanes));
    }
    for (; i < count; ++i)
        ratios[i] = truncatedShort(difference(image[i], dark[i]) / divisor);
}

void multiplied(const std::uint32_t* image, const std::uint32_t* dark, const float* gains, std::size_t count,
                float* results) noexcept {
    std::size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        fetchAhead(image + i);
        fetchAhead(dark + i);
        fetchAhead(gains + i);
        store(results + i, differences(image + i, dark + i) * loadFloats(gains + i) + 0.5f);
    }
    for (; i < count; ++i)
        results[i] = difference(image[i], dark[i]) * gains[i] + 0.5f;
}

void divided(const std::uint32_t* image, const std::uint32_t* dark, const std::uint16_t* gains, std::size_t count,
             float* results) noexcept {
    std::size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        fetchAhead(image + i);
        fetchAhead(dark + i);
        fetchAhead(gains + i);
        const Floats values = differences(image + i, dark + i);
        const Floats gain = toFloats(loadPixels(gains + i));
        store(results + i, gain == 0.0f ? values : values / gain * kFullGain);
    }
    for (; i < count; ++i) {
        const float value = difference(image[i], dark[i]);
        results[i] = gains[i] == 0 ? value : value / static_cast<float>(gains[i]) * kFullGain;
    }
}

std::uint32_t truncatedLong(float value) {
    constexpr float kTwoTo63 = 9223372036854775808.0f;
    return value >= -kTwoTo63 && value < kTwoTo63 ? static_cast<std::uint32_t>(static_cast<std::int64_t>(value)) : 0;
}

void truncated(const float* values, std::size_t count, std::uint32_t* results) noexcept {
    std::size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const Floats v = loadFloats(values + i);
        if (anyLane(~((v > -kTwoTo31) & (v < kTwoTo32)))) {
            for (std::size_t k = i; k < i + kLanes; ++k)
                results[k] = truncatedLong(values[k]);
            continue;
        }
        // Less 2^31 above that, which is exact, and then the bit that was taken.
        const Ints isHigh = v >= kTwoTo31;
        const Floats low = isHigh ? v - kTwoTo31 : v;
        store(results + i, truncatedInts(low) ^ (isHigh & kLowestInt));
    }
    for (; i < count; ++i)
        results[i] = truncatedLong(values[i]);
}

}  // namespace

QX_TABLE_OF_LEVEL(FrameKernels) = {differenceSum, differenceRatios, multiplied, divided, truncated};

}  // namespace qx
