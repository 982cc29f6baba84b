#pragma once

#include "demo/DemoScene.h"
#include "picture/Drawing.h"

#include <string>
#include <vector>

// The demo's pictures of factory and field.

namespace qx::tool {

// The widest picture of one whole image, in pixels.
inline constexpr int kPreviewWidth = 1024;

// The corrected flat field with the squares of the SNR series outlined.
Drawing drawSquares(const RawImage& image);

// Every exposure side by side with its verdict and what it rests on, and a part of it enlarged; the raw flat field
// comes first.
Drawing drawOverview(const RawImage& rawFlat, const std::vector<JudgedExposure>& exposures);

// The exposures' series beside the factory's, and against what is expected of them.
Drawing drawSeriesPlot(const std::vector<JudgedExposure>& exposures);

}  // namespace qx::tool
