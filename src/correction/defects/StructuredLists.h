#pragma once

#include "QxUtils/Records.h"

namespace qx {

// The lists of a structured record for an image of this size. Pixels outside it belong to no list; separators stand
// between the clusters that have a pixel. Throws std::bad_alloc when memory is short.
VectorDefect listsOf(const DefectInfo& record, int width, int height);

}  // namespace qx
