#pragma once

#include "common/Shape.h"

#include <cstdint>
#include <iosfwd>
#include <string>

namespace qx::tool {

// Lets a virtual panel of this size live through factory and field, calibration, correction and grading: tells each
// step, and leaves pictures, images and the log in the folder. Returns the number of checks in the calibration flow
// whose verdict is not as it should be.
int runDemo(std::ostream& out, const Shape& shape, std::uint64_t seed, const std::string& folder);

}  // namespace qx::tool
