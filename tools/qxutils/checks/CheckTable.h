#pragma once

#include "checks/ImageChecks.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace qx::tool {

struct CheckRow {
    std::string image;  // may be empty for every row
    CheckResult result;
};

// Every finding beside its limit, the verdict beside the finding that decided, and the messages of the refusals in
// full.
void printChecks(std::ostream& out, const std::vector<CheckRow>& rows);

}  // namespace qx::tool
