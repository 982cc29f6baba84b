#include "reference/quality/PlainSnr.h"

#include "reference/numerics/PlainStatistics.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace qx::plain {

namespace {

constexpr std::int32_t kPedestal = 208;

// Reorders the values. The upper middle for an even count.
std::int32_t selectMiddle(std::vector<std::int32_t>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

float snrOfSquare(std::vector<std::int32_t>& square, int side) {
    const std::int32_t median = selectMiddle(square);
    const float deviation = getStdev(square.data(), side, side);
    const float upper = static_cast<float>(median) + 4.0f * deviation;
    const float lower = static_cast<float>(median) - 4.0f * deviation;
    for (std::int32_t& value : square) {
        const auto compared = static_cast<float>(value);
        if (compared >= upper || compared <= lower)
            value = median;
    }
    const std::int32_t cleanedMedian = selectMiddle(square);
    return static_cast<float>(cleanedMedian) / getStdev(square.data(), side, side);
}

}  // namespace

int snrCount(int width, int height) {
    return (std::min(width, height) - 12) / 256 + 2;
}

std::vector<float> snrSeries(const WORD* image, int width, int height) {
    std::vector<std::int32_t> work(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (std::size_t i = 0; i < work.size(); ++i)
        work[i] = image[i] - kPedestal;
    std::vector<float> series;
    for (int k = 0; k < snrCount(width, height); ++k) {
        const int side = k < 2 ? 64 << k : 256 * (k - 1);
        const int top = (height - side) / 2;
        const int left = (width - side) / 2;
        std::vector<std::int32_t> square;
        for (int row = 0; row < side; ++row) {
            const auto first = work.begin() + std::ptrdiff_t{top + row} * width + left;
            square.insert(square.end(), first, first + side);
        }
        series.push_back(snrOfSquare(square, side));
    }
    return series;
}

}  // namespace qx::plain
