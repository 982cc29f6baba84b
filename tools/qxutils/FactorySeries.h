#pragma once

#include "SnrJudgement.h"

#include <string>

namespace qx::tool {

// A factory series in a text file: TOML (.toml) or JSON (.json) with the list "snr", or, under any other name, plain
// numbers separated by blanks or line ends. Throws a ToolError unless it holds at least minimumCount positive numbers.
SnrSeries loadFactorySeries(const std::string& path, std::size_t minimumCount);

// Writes a TOML file that loadFactorySeries reads back.
void saveFactorySeries(const std::string& path, const SnrSeries& series);

}  // namespace qx::tool
