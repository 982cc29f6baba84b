#pragma once

#include <string>
#include <vector>

namespace qx::tool {

// Cells as one line of comma-separated values, with its end; a cell with a comma, a quote or a line end stands in
// quotes.
std::string csvLine(const std::vector<std::string>& cells);

}  // namespace qx::tool
