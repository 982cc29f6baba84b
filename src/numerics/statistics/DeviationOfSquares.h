#pragma once

#include "kernels/PixelKernels.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace qx {

inline float rootOfMean(double squares, std::int64_t count) noexcept {
    return static_cast<float>(std::sqrt(squares / static_cast<double>(count)));
}

// The root of the mean of `count` squares. Their sum, none of whose terms is below 0, is exact below kExactSumLimit;
// beyond it, it was rounded in some order. `ordered` returns the sum in the order that is asked for: it is taken only
// where another order might lead to another root.
template <class Ordered>
float deviationOfSquares(double sum, std::int64_t count, Ordered ordered) {
    if (sum < kExactSumLimit)
        return rootOfMean(sum, count);
    // Each term is added with an error of at most half the machine's precision, so two sums are apart by that of two
    // terms for each. The root grows with the sum: what both bounds give, all between them give.
    const double reach = 1.25 * std::numeric_limits<double>::epsilon() * static_cast<double>(count);
    const float lowest = rootOfMean(sum * (1.0 - reach), count);
    return lowest == rootOfMean(sum * (1.0 + reach), count) ? lowest : rootOfMean(ordered(), count);
}

}  // namespace qx
