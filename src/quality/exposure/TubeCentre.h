#pragma once

#include "QxUtils/Records.h"
#include "quality/exposure/Exposure.h"
#include "quality/exposure/Symmetry.h"

namespace qx {

// Blocks cut off at every side before the tube's illumination is examined, and the fewest blocks a side needs for that.
inline constexpr int kIlluminationBorder = 4;
inline constexpr int kIlluminationBlocks = 16;

// Whether the exposure has enough whole blocks.
bool showsIllumination(const Exposure& exposure) noexcept;

// Estimates the tube's centre from the vertices of parabolas through the central row and column of the balanced block
// medians: x0 and y0 of the result, in full-resolution pixels. Returns 0, 1020 for an image or an AFE width that does
// not fit, 1035 when memory is short.
int fitTubeCentre(const Exposure& exposure, SurfaceFitResult& result);

// Measures the corners that checkFirstImgForFactoryCalibration judges. Returns 0, 1020 for an image or an AFE width
// that does not fit, 1035 when memory is short.
int measureCorners(const Exposure& exposure, CornerSymmetry& corners);

// Measures the symmetry of the illumination and fits its peak: fills all fields but the evaluation. Returns 0; 1069 for
// corners that differ too much, 1020 for an image or an AFE width that does not fit, 1035 when memory is short. Logs
// its course.
int checkFirstImgForFactoryCalibration(const Exposure& exposure, SurfaceFitResult& result);

}  // namespace qx
