#pragma once

#include "picture/Canvas.h"
#include "snr/SnrJudgement.h"

#include <string>
#include <vector>

namespace qx::tool {

// One series of the plot; the values are shares of the scaled factory series.
struct PlotLine {
    std::string label;
    Colour colour;
    std::vector<float> shares;
};

// Draws the series over the sides of the squares, with a legend below.
Canvas drawSnrPlot(const std::vector<int>& sides, const std::vector<PlotLine>& lines);

}  // namespace qx::tool
