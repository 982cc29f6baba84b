#pragma once

#include "Arrays.h"

#include <vector>

namespace qx::python {

// A series that the caller gives: SnrSeries, an array or a list of numbers.
std::vector<float> seriesOf(const py::object& values);

}  // namespace qx::python
