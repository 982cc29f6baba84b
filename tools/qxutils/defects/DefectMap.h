#pragma once

#include "defects/DefectLists.h"
#include "picture/Drawing.h"

namespace qx::tool {

// A map of the image over its columns and rows, at most 1024 logical pixels wide and high, with each kind of defect in
// a colour of its own, and a legend. What lies outside the image is left out. The shape's sides run from 1 to kMaxSide.
Drawing drawDefectMap(const DefectLists& lists);

}  // namespace qx::tool
