#pragma once

#include "defects/DefectLists.h"
#include "results/Record.h"

#include <iosfwd>

// What the user reads about the defects in a file.

namespace qx::tool {

// How many there are of each kind, without a text.
Record defectCountsOf(const DefectLists& lists);

// A table of them.
void printDefectCounts(std::ostream& out, const DefectLists& lists);

// The same with the first ones of each kind.
void printDefectLists(std::ostream& out, const DefectLists& lists);

}  // namespace qx::tool
