#pragma once

#include "quality/Measure.h"
#include "quality/exposure/Exposure.h"

namespace qx {

// What getUniform judges, of the differences of an exposure or of an image without a dark one: the variation of five
// squares. Returns 0, or 1020 when a square leaves the image.
int measureSquares(const Exposure& exposure, Measure& variation) noexcept;

// Adds the record of it.
void recordSquares(const Measure& variation, MeasureRecords& records) noexcept;

}  // namespace qx
