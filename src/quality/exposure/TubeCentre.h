#pragma once

#include "QxUtils/Records.h"
#include "foundation/ImageView.h"
#include "quality/exposure/AfeSurvey.h"
#include "quality/exposure/Exposure.h"
#include "quality/exposure/Symmetry.h"

namespace qx {

// Blocks cut off at every side before the tube's illumination is examined, and the fewest blocks a side needs for that.
inline constexpr int kIlluminationBorder = 4;
inline constexpr int kIlluminationBlocks = 16;

// What is known of an exposure before: the medians of the differences in its blocks, and what else was measured then.
struct SurveyedExposure {
    const Exposure& exposure;
    ImageView<const float> medians;
    AfeSurvey& survey;
};

// Whether the exposure has enough whole blocks.
bool showsIllumination(const Exposure& exposure) noexcept;

// Estimates the tube's centre from the vertices of parabolas through the central row and column of the balanced block
// medians: x0 and y0 of the result, in full-resolution pixels. Returns 0, 1020 for an image or an AFE width that does
// not fit, 1035 when memory is short.
int fitTubeCentre(const SurveyedExposure& surveyed, SurfaceFitResult& result);

// Measures the corners that checkFirstImgForFactoryCalibration judges. Returns 0, 1020 for an image or an AFE width
// that does not fit, 1035 when memory is short.
int measureCorners(const SurveyedExposure& surveyed, CornerSymmetry& corners);

// Measures the symmetry of the illumination and fits its peak: fills all fields but the evaluation. Returns 0; 1069 for
// corners that differ too much, 1020 for an image or an AFE width that does not fit, 1035 when memory is short. Logs
// its course.
int checkFirstImgForFactoryCalibration(const SurveyedExposure& surveyed, SurfaceFitResult& result);

}  // namespace qx
