#pragma once

#include "demo/CalibrationFlow.h"
#include "picture/Tiles.h"

#include <vector>

// Pictures of what the calibration flow measures.

namespace qx::tool {

// The flat field before and after the AFE balance, in one contrast. side is that of a picture, in
// logical pixels.
std::vector<Tile> drawBalance(const CalibrationFlow& flow, double side);

// The block medians of the collimated image with the shadow that the first-image check finds.
Tile drawShadow(const CalibrationFlow& flow, double side);

}  // namespace qx::tool
