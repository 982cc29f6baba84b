#pragma once

#include "foundation/ImageView.h"

namespace qx {

// The upper middle of a region, truncated, as getROIMedian gives it. The region is not clipped to the image, whose
// height is not looked at. Returns 0, or the status that getROIMedian returns in its place; then median stays as it
// was.
int regionMedian(ImageView<const float> image, const Rect& region, int& median) noexcept;

}  // namespace qx
