#pragma once

#include "ndt/NdtDemo.h"
#include "picture/Drawing.h"

namespace qx::tool {

// The object as it was read, corrected, and what is wrong with the latter: rings where a pixel is far from the truth.
Drawing drawNdt(const NdtDemo& demo);

}  // namespace qx::tool
