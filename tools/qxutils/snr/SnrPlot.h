#pragma once

#include "picture/Drawing.h"
#include "snr/SnrJudgement.h"

#include <string>
#include <vector>

namespace qx::tool {

// One series of the plot; its values are shares of the factory series, scaled to the image's smallest square.
struct SnrLine {
    std::string label;
    Colour colour;
    SnrSeries shares;
    std::vector<bool> areBelow{};  // the squares that fail, which are marked
};

// Draws the series over the sides of the squares on a logarithmic axis, each named at its end; below the expectation,
// which is a series of shares too, the plot is shaded.
Drawing drawSnrPlot(const std::vector<int>& sides, const std::vector<SnrLine>& lines, const SnrSeries& expected);

}  // namespace qx::tool
