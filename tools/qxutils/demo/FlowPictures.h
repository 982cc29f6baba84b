#pragma once

#include "demo/CalibrationFlow.h"
#include "picture/Tiles.h"

#include <vector>

// Pictures of what the calibration flow measures.

namespace qx::tool {

// The flat field before and after the AFE balance, in one contrast. side is about that of a picture, in pixels.
std::vector<Tile> drawBalance(const CalibrationFlow& flow, int side);

// The block medians of the collimated image with the shadow that the first-image check finds.
Tile drawShadow(const CalibrationFlow& flow, int side);

}  // namespace qx::tool
