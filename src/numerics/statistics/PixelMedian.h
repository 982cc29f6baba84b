#pragma once

#include "QxUtils/Types.h"

#include <span>

namespace qx {

// The lower of the two middle pixels, or the middle one, of at least one pixel.
WORD lowerMiddle(std::span<const WORD> pixels) noexcept;

// The same of integers, which change places.
int lowerMiddleInPlace(std::span<int> values) noexcept;

}  // namespace qx
