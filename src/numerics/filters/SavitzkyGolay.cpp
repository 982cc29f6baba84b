#include "numerics/filters/SavitzkyGolay.h"

#include "QxUtils/Numerics.h"
#include "QxUtils/StatusCode.h"
#include "foundation/Panels.h"
#include "kernels/SumKernels.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

constexpr int kOrder = 2;
constexpr std::array<int, 6> kWindows = {5, 7, 15, 23, 31, 51};
constexpr int kLargestWindow = 51;
constexpr int kRefused = 1;

// A quotient of integers below 2^53. For the six windows the two roundings give what a single one does.
float rounded(double numerator, double denominator) noexcept {
    return static_cast<float>(numerator / denominator);
}

// Weighted sums of the samples from each of `count` positions on, in the order of the samples.
void smooth(float* out, const float* in, int count, const float* weights, int window) noexcept {
    constexpr int kAtOnce = 1024;
    qx::forPanels(count, kAtOnce, [=](int first, int length) {
        std::fill_n(out + first, length, 0.0f);
        for (int k = 0; k < window; ++k)
            qx::sumKernels().addMultiple(in + first + k, length, weights[k], out + first);
    });
}

}  // namespace

namespace qx {

int loadSGolayTable(float* table, int order, int window) noexcept {
    if (order != kOrder || std::find(kWindows.begin(), kWindows.end(), window) == kWindows.end())
        return kRefused;
    // With t = -half .. half, sums S2 of t^2 and S4 of t^4, the polynomials 1, t and n t^2 - S2 are orthogonal; the
    // weight is the sum of their products at both positions, each over its squared norm.
    const std::int64_t half = window / 2;
    const std::int64_t n = window;
    std::int64_t s2 = 0;
    std::int64_t s4 = 0;
    for (std::int64_t t = -half; t <= half; ++t) {
        s2 += t * t;
        s4 += t * t * t * t;
    }
    const std::int64_t norm = n * s4 - s2 * s2;
    for (std::int64_t i = -half; i <= half; ++i)
        for (std::int64_t k = -half; k <= half; ++k)
            *table++ = rounded(norm * (s2 + n * i * k) + s2 * (n * i * i - s2) * (n * k * k - s2), n * s2 * norm);
    return 0;
}

}  // namespace qx

int filterUsingSGolay(float* out, const float* in, int n, int order, int window) {
    if (out == nullptr || in == nullptr)
        return StatusNullArgument;
    std::array<float, kLargestWindow * kLargestWindow> table;
    if (n < window || qx::loadSGolayTable(table.data(), order, window) != 0)
        return kRefused;
    const int half = window / 2;
    const auto weights = [&](int row) { return table.data() + row * window; };
    for (int i = 0; i < half; ++i) {
        smooth(out + i, in, 1, weights(i), window);
        smooth(out + n - half + i, in + n - window, 1, weights(window - half + i), window);
    }
    smooth(out + half, in, n - 2 * half, weights(half), window);
    return StatusOk;
}
