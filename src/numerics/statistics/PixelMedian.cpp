#include "numerics/statistics/PixelMedian.h"

#include "kernels/RankKernels.h"
#include "numerics/statistics/PixelHistogram.h"

namespace qx {
namespace {

// Above this a histogram's single pass beats the selection's sixteen.
constexpr std::size_t kHistogramFrom = std::size_t{1} << 20;

}  // namespace

WORD lowerMiddle(const WORD* pixels, std::size_t count) noexcept {
    const std::size_t rank = count - 1 - count / 2;
    if (count >= kHistogramFrom) {
        PixelHistogram histogram;
        if (histogram) {
            histogram.add(pixels, count);
            return static_cast<WORD>(valueOfRank(histogram.counts(), 0, kPixelValues - 1, rank));
        }
    }
    return rankKernels().pixelRank(pixels, count, rank);
}

}  // namespace qx
