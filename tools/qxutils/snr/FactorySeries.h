#pragma once

#include "snr/SnrJudgement.h"

#include <optional>
#include <string>

namespace qx::tool {

// A factory series: the record of a factory SNR file (-SNR.raw) with the integration time nearest to the given one, or
// its first one; or a text file: TOML (.toml) or JSON (.json) with the list "snr", or, under any other name, plain
// numbers separated by blanks or line ends. Throws a ToolError unless it holds at least minimumCount positive numbers.
SnrSeries loadFactorySeries(const std::string& path, std::size_t minimumCount,
                            std::optional<float> integrationTimeMs = std::nullopt);

// Writes a TOML file that loadFactorySeries reads back.
void saveFactorySeries(const std::string& path, const SnrSeries& series);

}  // namespace qx::tool
