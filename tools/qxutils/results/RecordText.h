#pragma once

#include "results/Record.h"
#include "text/Terminal.h"

#include <cstddef>
#include <string>

// Parts of records as every table and page tells them.

namespace qx::tool {

// What a measure of a record is, with its unit unless the name begins with it, as in "blocks in a shadow"; "or " before
// it where it is an alternative to the one before.
std::string quantityOf(const Record& record, std::size_t index);

// With as many decimals as it takes to see how it stands to its limit.
std::string valueText(const Measure& measure);

// Plain where nothing was judged.
TextColour colourOf(Verdict verdict);

// A measure of the library, shown with so many decimals.
Measure measureOf(const CheckMeasure& taken, int decimals);

}  // namespace qx::tool
