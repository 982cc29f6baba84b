#pragma once

#include "results/Record.h"

#include <iosfwd>

// Records as comma-separated values: a line for each measure, those of an SNR series among them, or one line where
// there is none. Texts with a comma, a quote or a line end stand in quotes.

namespace qx::tool {

void printCsvHead(std::ostream& out);
void printCsv(std::ostream& out, const Record& record);

}  // namespace qx::tool
