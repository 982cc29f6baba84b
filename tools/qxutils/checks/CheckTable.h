#pragma once

#include "results/Record.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace qx::tool {

struct CheckRow {
    std::string image;  // may be empty for every row
    Record result;
};

// Every measure beside its limit, the verdict beside the measure that decided, and the messages of the refusals in
// full. Rows without an image are all of one.
void printChecks(std::ostream& out, const std::vector<CheckRow>& rows);

// The same with the file as the image where there are several. Without a verdict there is no row.
void printCheckRecords(std::ostream& out, const std::vector<Record>& records);

}  // namespace qx::tool
