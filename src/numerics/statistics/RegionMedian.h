#pragma once

namespace qx {

// Rows rowStart..rowEnd and columns columnStart..columnEnd (both inclusive) of a float image whose rows are `width`
// values apart: the upper middle, truncated, as getROIMedian gives it. Returns 0, or the status that getROIMedian
// returns in its place; then median stays as it was.
int regionMedian(const float* image, int rowStart, int rowEnd, int columnStart, int columnEnd, int width,
                 int& median) noexcept;

}  // namespace qx
