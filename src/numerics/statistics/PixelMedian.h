#pragma once

#include "QxUtils/Types.h"

#include <cstddef>

namespace qx {

// The lower of the two middle pixels, or the middle one. count is at least 1.
WORD lowerMiddle(const WORD* pixels, std::size_t count) noexcept;

}  // namespace qx
