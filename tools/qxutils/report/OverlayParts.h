#pragma once

#include "image/Image.h"
#include "image/RawImage.h"
#include "report/Overlays.h"

// The overlays of the checks, and what they share.

namespace qx::tool {

MarkState stateOf(const Measure& measure);

Region squareAt(int row, int column, int side);

// The five squares of a uniformity; of differences where there is a dark image.
Overlay uniformSquares(const Measure& measure, const RawImage& image, const RawImage* dark);

// The blocks up to the one whose deviation is judged, and those beyond the limit.
Overlay deviatingBlocks(const Measure& measure, const RawImage& image);

// The two strips with the largest step between them.
Overlay stripPair(const Measure& measure, const RawImage& image);

// The leftmost of the darkest strips; the first one when none lies below 10000.
Overlay darkestStrip(const Measure& measure, const RawImage& image);

// Of a first exposed image and of a preview; none without a dark image.
std::vector<Overlay> exposureOverlays(const Record& record, const RawImage& image, const RawImage* dark);

// What was asked of an image that triggered itself, one after the other until one is met: a region, unless the middle
// area is too small for one, that area, the outer one.
Overlay triggerAreas(const Record& record, const FloatImage& image);

// The tiles that are searched for patches, and the one with the cell that decided.
Overlay patchTiles(const Measure& measure, const FloatImage& image);

// The rows that step, neighbours as one mark.
Overlay steppingRows(const Measure& measure, const FloatImage& image);

}  // namespace qx::tool
