#pragma once

#include "picture/Drawing.h"

#include <optional>
#include <string>
#include <vector>

// Plots: lines and points over two axes with ticks, units and a grid, each line named at its end.
//
//   Plot plot{"SNR over a year", {.label = "day", .scale = AxisScale::Days}, {.label = "SNR"}};
//   plot.line("smallest square", kTrue, {{20412.0, 271.3}, {20440.5, 268.0}});
//   plot.limit("expected at least", {{20412.0, 230.0}, {20440.5, 230.0}}, Beyond::Below);
//   writePicture(path, draw(plot));
//
// What is no finite number is left out, and so is what a logarithmic axis cannot show; lines are interrupted there.

namespace qx::tool {

// Days count from 1970-01-01 as 0, with fractions; their ticks are dates.
enum class AxisScale { Linear, Logarithmic, Days };

struct Axis {
    std::string label;  // with its unit
    AxisScale scale = AxisScale::Linear;
    std::optional<double> low{};   // that of the data, with some room, when left out
    std::optional<double> high{};  // likewise
    std::vector<double> ticks{};   // round ones when left out
    std::string unit{};            // written behind each tick's number
    bool isReversed = false;       // low on the right, or at the top
    bool isNumbered = true;        // the ticks have numbers
};

struct DataPoint {
    double x;
    double y;
};

// Which side of a limit is shaded.
enum class Beyond { Nothing, Below, Above };

struct Plot {
    struct Line {
        std::string label;  // at its end; none when empty
        Colour colour;
        std::vector<DataPoint> points;
        double width = 2.0;
        double dash = 0.0;
        double dots = 3.5;  // radius of the dot on each point; 0 for none
        Beyond shaded = Beyond::Nothing;
    };
    struct Ring {
        DataPoint point;
        Colour colour;
    };

    std::string title;
    Axis x;
    Axis y;
    std::string note{};  // a second line below the title
    std::vector<Line> lines{};
    std::vector<Ring> rings{};

    // A line with a dot on each point.
    void line(const std::string& label, Colour colour, std::vector<DataPoint> points) {
        lines.push_back({label, colour, std::move(points)});
    }

    // Dots alone.
    void points(const std::string& label, Colour colour, std::vector<DataPoint> points) {
        lines.push_back({label, colour, std::move(points), 0.0});
    }

    // A dashed line; what lies beyond it is shaded.
    void limit(const std::string& label, std::vector<DataPoint> points, Beyond shaded);

    // A ring around a point that stands out.
    void ring(const DataPoint& point, Colour colour) { rings.push_back({point, colour}); }
};

// The plot as a picture of its own.
Drawing draw(const Plot& plot, double width = 960.0, double height = 540.0);

// The axes and lines alone, without title and labels of the lines; the frame is the rectangle within the axes.
// Numbers and names of the axes stand outside, on the left and below.
void drawInside(Drawing& drawing, const Plot& plot, const Box& frame);

// The round numbers that divide a range into at most this many steps. Exposed for axes that are drawn otherwise.
struct Tick {
    double value;
    std::string text;
};
std::vector<Tick> ticksOf(const Axis& axis, double low, double high, int steps);

}  // namespace qx::tool
