#include "snr/SnrPlot.h"

#include "picture/Axes.h"
#include "picture/Look.h"

#include <cstddef>

namespace qx::tool {
namespace {

constexpr double kHighestPercent = 112.0;

std::vector<DataPoint> percentsOf(const std::vector<int>& sides, const SnrSeries& shares) {
    std::vector<DataPoint> points;
    for (std::size_t square = 0; square < shares.size(); ++square)
        points.push_back({static_cast<double>(sides[square]), 100.0 * shares[square]});
    return points;
}

}  // namespace

Drawing drawSnrPlot(const std::vector<int>& sides, const std::vector<SnrLine>& lines, const SnrSeries& expected) {
    Plot plot{"SNR of nested squares, as a share of the factory's",
              {.label = "side of the square (pixels, logarithmic)",
               .scale = AxisScale::Logarithmic,
               .ticks = {sides.begin(), sides.end()}},
              {.label = "SNR / factory SNR", .low = 0.0, .high = kHighestPercent, .unit = " %"},
              "The factory's series is scaled to the image's smallest square. Ringed: below what is expected."};
    plot.limit("expected at least", percentsOf(sides, expected), Beyond::Below);
    for (const auto& [label, colour, shares, areBelow] : lines) {
        const std::vector<DataPoint> points = percentsOf(sides, shares);
        plot.line(label, colour, points);
        for (std::size_t square = 0; square < areBelow.size(); ++square) {
            if (areBelow[square])
                plot.ring(points[square], kNotPassed);
        }
    }
    return draw(plot);
}

}  // namespace qx::tool
