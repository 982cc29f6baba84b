#include "reference/correction/PlainNdt.h"

#include "reference/numerics/PlainStatistics.h"

#include <limits>

namespace qx::plain {

float offsetCorrected(std::uint32_t image, std::uint32_t dark) {
    const float difference = static_cast<float>(image) - static_cast<float>(dark);
    return difference > 0.0f ? difference : 0.0f;
}

float ndtGainScale(const std::uint32_t* bright, const std::uint32_t* dark, int count) {
    double sum = 0.0;
    for (int i = 0; i < count; ++i)
        sum += static_cast<double>(offsetCorrected(bright[i], dark[i]));
    return static_cast<float>(sum / count / 10000.0);
}

void ndtGains(std::uint16_t* gains, const std::uint32_t* bright, const std::uint32_t* dark, int count, float scale) {
    for (int i = 0; i < count; ++i) {
        const float gain = offsetCorrected(bright[i], dark[i]) / scale;
        gains[i] = static_cast<std::uint16_t>(truncateToInt(static_cast<double>(gain)));
    }
}

void correctByFixedGain(float* results, const std::uint32_t* image, const std::uint32_t* dark, const float* gains,
                        int count) {
    for (int i = 0; i < count; ++i)
        results[i] = offsetCorrected(image[i], dark[i]) * gains[i] + 0.5f;
}

void correctByNdtGain(float* results, const std::uint32_t* image, const std::uint32_t* dark, const std::uint16_t* gains,
                      int count) {
    for (int i = 0; i < count; ++i) {
        results[i] = offsetCorrected(image[i], dark[i]);
        if (gains[i] != 0)
            results[i] = results[i] / static_cast<float>(gains[i]) * 10000.0f;
    }
}

std::uint32_t truncatedLong(float value) {
    constexpr float kTwoTo63 = 9223372036854775808.0f;
    std::int64_t whole = std::numeric_limits<std::int64_t>::min();
    if (value >= -kTwoTo63 && value < kTwoTo63)
        whole = static_cast<std::int64_t>(value);
    return static_cast<std::uint32_t>(whole);
}

void writeBack(std::uint32_t* image, const float* results, int count) {
    for (int i = 0; i < count; ++i)
        image[i] = truncatedLong(results[i]);
}

}  // namespace qx::plain
