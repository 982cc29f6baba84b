#pragma once

#include "ndt/NdtDemo.h"
#include "picture/Canvas.h"

namespace qx::tool {

// The object as it was read, corrected, and what is wrong with the latter, each at most `side` pixels wide.
Canvas drawNdt(const NdtDemo& demo, int side);

}  // namespace qx::tool
