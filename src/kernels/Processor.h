#pragma once

#include "kernels/VectorLevel.h"

namespace qx {

// The highest level whose instructions the processor has.
VectorLevel processorLevel() noexcept;

// The highest level whose CRC kernels it can run: products without carry are part of no level.
VectorLevel processorCrcLevel() noexcept;

}  // namespace qx
