#pragma once

#include "defects/DefectLists.h"
#include "picture/Canvas.h"

namespace qx::tool {

// A black map of the image, at most 1024 pixels wide, with each kind of defect in a colour of its own, and a legend
// below. What lies outside the image is left out. The shape's sides run from 1 to kMaxSide.
Canvas drawDefectMap(const DefectLists& lists);

}  // namespace qx::tool
