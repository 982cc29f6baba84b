#pragma once

#include "correction/afe/AfeEdges.h"
#include "foundation/ImageView.h"
#include "quality/exposure/ExposureRows.h"

#include <span>

namespace qx {

// How the AFE balance changes an exposure: columns take the values of others, then each is multiplied by a gain.
struct Balance {
    std::span<const float> columnGains;
    std::span<const ColumnReplacement> replacements;  // in the order of the columns
};

// The medians of the whole blocks of an exposure that is balanced, from those of its differences.
template <Difference difference>
void balancedMedians(const Exposure& exposure, const Balance& balance, const ImageView<const float>& medians,
                     const ImageView<float>& balanced) noexcept;

extern template void balancedMedians<signedDifference>(const Exposure&, const Balance&, const ImageView<const float>&,
                                                       const ImageView<float>&) noexcept;
extern template void balancedMedians<raisedDifference>(const Exposure&, const Balance&, const ImageView<const float>&,
                                                       const ImageView<float>&) noexcept;

}  // namespace qx
