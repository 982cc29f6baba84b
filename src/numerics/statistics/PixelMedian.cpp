#include "numerics/statistics/PixelMedian.h"

#include "kernels/RankKernels.h"
#include "numerics/statistics/PixelHistogram.h"

#include <algorithm>
#include <cstddef>

namespace qx {
namespace {

// Above this a histogram's single pass beats the selection's sixteen.
constexpr std::size_t kHistogramFrom = std::size_t{1} << 20;

}  // namespace

WORD lowerMiddle(std::span<const WORD> pixels) noexcept {
    const std::size_t rank = pixels.size() - 1 - pixels.size() / 2;
    if (pixels.size() >= kHistogramFrom) {
        PixelHistogram histogram;
        if (histogram) {
            histogram.add(pixels);
            return static_cast<WORD>(CountBlocks(histogram.counts()).valueOfRank(rank));
        }
    }
    return rankKernels().pixelRank(pixels.data(), pixels.size(), rank);
}

int lowerMiddleInPlace(std::span<int> values) noexcept {
    const auto middle = values.begin() + (std::ssize(values) - 1) / 2;
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace qx
