#pragma once

#include "foundation/ImageView.h"
#include "quality/Measure.h"

namespace qx {

// The corners of the block medians, 8 x 8 values each: their means, and the largest differences of two neighbouring
// ones relative to their mean, side by side and one above the other.
struct CornerSymmetry {
    int leftTop = 0;
    int leftBottom = 0;
    int rightTop = 0;
    int rightBottom = 0;
    float horizontal = 0.0f;
    float vertical = 0.0f;

    float degree() const noexcept;

    // The larger difference beside what is tolerated.
    Measure asymmetry() const noexcept;
};

// Of at least 8 x 8 values.
CornerSymmetry measureSymmetry(ImageView<const float> blocks) noexcept;

// Measures and judges: 1069 for a difference that is not tolerated, else 0; asymDegree receives it. Logs the means and
// degrees.
int checkSymmetry(ImageView<const float> blocks, float& asymDegree);

}  // namespace qx
