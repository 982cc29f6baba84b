#pragma once

#include "snr/SnrJudgement.h"

#include <optional>
#include <string>

namespace qx::tool {

// A factory series for images of this shape, from one of
//     a factory SNR file (-SNR.raw): the record with the integration time nearest to the given one, or its first one;
//     results that qxutils snr wrote (.json): the first series in them;
//     a list: TOML (.toml) or JSON (.json) with the list "snr", or plain numbers separated by blanks or line ends;
//     a raw reference image of this shape, under any other name: the series measured in it.
// Throws a ToolError unless it holds a positive number for each square.
SnrSeries loadFactorySeries(const std::string& path, const Shape& shape,
                            std::optional<float> integrationTimeMs = std::nullopt);

// Writes a TOML file that loadFactorySeries reads back.
void saveFactorySeries(const std::string& path, const SnrSeries& series);

}  // namespace qx::tool
