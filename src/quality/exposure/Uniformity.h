#pragma once

#include "quality/exposure/Exposure.h"

namespace qx {

// The verdict of getUniform on the differences of an exposure: 0, 1062, or 1020 when a square leaves the image. A null
// dark image counts as zeros.
int judgeUniformity(const Exposure& exposure) noexcept;

}  // namespace qx
