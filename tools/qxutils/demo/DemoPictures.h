#pragma once

#include "demo/DemoScene.h"
#include "picture/Canvas.h"

#include <string>
#include <vector>

// The demo's pictures of factory and field.

namespace qx::tool {

// The widest picture of one whole image, in pixels.
inline constexpr int kPreviewWidth = 1024;

// The corrected flat field with the squares of the SNR series outlined.
Canvas drawSquares(const RawImage& image);

// Every exposure side by side with its verdict; the raw flat field comes first.
Canvas drawOverview(const RawImage& rawFlat, const std::vector<JudgedExposure>& exposures);

// The exposures' series against the factory's expectation.
Canvas drawSeriesPlot(const std::vector<JudgedExposure>& exposures, const SnrSeries& factory);

}  // namespace qx::tool
