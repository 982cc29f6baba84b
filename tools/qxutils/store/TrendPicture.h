#pragma once

#include "picture/Drawing.h"
#include "store/Trend.h"

#include <vector>

namespace qx::tool {

// A plot for each measure, one below the other: its values over time, the straight line through them, and the limit.
Drawing drawTrends(const std::vector<Trend>& trends);

}  // namespace qx::tool
