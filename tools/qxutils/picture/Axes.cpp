#include "picture/Axes.h"

#include "picture/Font.h"
#include "picture/Look.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace qx::tool {
namespace {

constexpr double kTickLength = 5.0;
constexpr double kLineHeight = 1.25 * kTextSize;
constexpr double kCapHeight = 0.36;  // of the size of a text: from its foot to the middle of its letters
constexpr double kShade = 0.10;      // of a limit's colour on what lies beyond it

bool canShow(const Axis& axis, double value) {
    return std::isfinite(value) && (axis.scale != AxisScale::Logarithmic || value > 0.0);
}

// Where values lie along one side of the frame, from 0 at low to 1 at high.
class Range {
public:
    Range(const Axis& axis, std::vector<double> values) : isLogarithmic_(axis.scale == AxisScale::Logarithmic) {
        std::erase_if(values, [&axis](double value) { return !canShow(axis, value); });
        if (values.empty())
            values = {1.0, 2.0};
        const auto [least, largest] = std::minmax_element(values.begin(), values.end());
        double low = scaled(axis.low.value_or(*least));
        double high = scaled(axis.high.value_or(*largest));
        const double around = axis.scale == AxisScale::Days ? 0.5 : std::max(0.5, std::abs(low) * 0.05);
        const double room = high > low ? 0.05 * (high - low) : around;
        low_ = axis.low && high > low ? low : low - room;
        high_ = axis.high && high > low ? high : high + room;
    }

    double low() const { return isLogarithmic_ ? std::pow(10.0, low_) : low_; }
    double high() const { return isLogarithmic_ ? std::pow(10.0, high_) : high_; }
    double shareOf(double value) const { return (scaled(value) - low_) / (high_ - low_); }

private:
    double scaled(double value) const { return isLogarithmic_ ? std::log10(value) : value; }

    bool isLogarithmic_;
    double low_ = 0.0;
    double high_ = 1.0;
};

Range rangeOf(const Plot& plot, const Axis& axis, double DataPoint::*coordinate) {
    std::vector<double> values;
    for (const Plot::Line& line : plot.lines) {
        for (const DataPoint& point : line.points)
            values.push_back(point.*coordinate);
    }
    return {axis, std::move(values)};
}

// Draws a plot's parts within its frame.
class Plotter {
public:
    Plotter(Drawing& drawing, const Plot& plot, const Box& frame)
        : drawing_(drawing), plot_(plot), frame_(frame), x_(rangeOf(plot, plot.x, &DataPoint::x)),
          y_(rangeOf(plot, plot.y, &DataPoint::y)) {}

    void drawAll() {
        for (const Plot::Line& line : plot_.lines)
            shade(line);
        drawGrid();
        for (const Plot::Line& line : plot_.lines)
            drawCurve(line);
        for (const Plot::Ring& ring : plot_.rings) {
            if (isShown(ring.point))
                drawing_.drawRing(placeOf(ring.point), 7.5, {ring.colour, 2.0});
        }
    }

    // Each line's name at the height of its end, moved where others stand.
    void drawLabels() {
        std::vector<std::pair<double, const Plot::Line*>> ends;
        for (const Plot::Line& line : plot_.lines) {
            const auto end = std::find_if(line.points.rbegin(), line.points.rend(),
                                          [this](const DataPoint& point) { return isShown(point); });
            if (!line.label.empty() && end != line.points.rend())
                ends.emplace_back(placeOf(*end).y, &line);
        }
        std::stable_sort(ends.begin(), ends.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
        const std::vector<double> heights = apart(ends);
        for (std::size_t i = 0; i < ends.size(); ++i) {
            const auto& [end, line] = ends[i];
            const double x = frame_.right();
            drawing_.drawLine({{x + 4.0, end}, {x + 16.0, heights[i]}, {x + 20.0, heights[i]}}, {line->colour, 1.0});
            drawing_.drawText({x + 24.0, heights[i] + kCapHeight * kTextSize}, line->label, {line->colour, kTextSize});
        }
    }

private:
    Place placeOf(const DataPoint& point) const {
        const double across = plot_.x.isReversed ? 1.0 - x_.shareOf(point.x) : x_.shareOf(point.x);
        const double up = plot_.y.isReversed ? 1.0 - y_.shareOf(point.y) : y_.shareOf(point.y);
        return {frame_.x + across * frame_.width, frame_.bottom() - up * frame_.height};
    }

    bool isShown(const DataPoint& point) const { return canShow(plot_.x, point.x) && canShow(plot_.y, point.y); }

    // The stretches of a line without what cannot be shown, kept within the frame's height.
    std::vector<std::vector<Place>> stretchesOf(const Plot::Line& line) const {
        std::vector<std::vector<Place>> stretches(1);
        for (const DataPoint& point : line.points) {
            if (!isShown(point)) {
                stretches.emplace_back();
                continue;
            }
            const Place place = placeOf(point);
            stretches.back().push_back(
                {std::clamp(place.x, frame_.x, frame_.right()), std::clamp(place.y, frame_.y, frame_.bottom())});
        }
        std::erase_if(stretches, [](const auto& stretch) { return stretch.empty(); });
        return stretches;
    }

    void shade(const Plot::Line& line) {
        if (line.shaded == Beyond::Nothing)
            return;
        const bool isBelow = (line.shaded == Beyond::Below) != plot_.y.isReversed;
        const double edge = isBelow ? frame_.bottom() : frame_.y;
        const auto lightened = [](std::uint8_t shade) {
            return static_cast<std::uint8_t>(255.0 - kShade * (255 - shade));
        };
        const auto& [red, green, blue] = line.colour;
        for (std::vector<Place>& stretch : stretchesOf(line)) {
            stretch.push_back({stretch.back().x, edge});
            stretch.push_back({stretch.front().x, edge});
            drawing_.fillArea(std::move(stretch), {lightened(red), lightened(green), lightened(blue)});
        }
    }

    void drawGrid() {
        drawColumns();
        drawRows();
        drawing_.outlineBox(frame_, {kInk, 1.0});
        drawing_.drawText({frame_.x + frame_.width / 2.0, frame_.bottom() + kTickLength + 2.6 * kTextSize},
                          plot_.x.label, {kInk, kTextSize, Anchor::Middle});
        drawing_.drawText({frame_.x - kTickLength - widest_ - 0.9 * kTextSize, frame_.y + frame_.height / 2.0},
                          plot_.y.label, {kInk, kTextSize, Anchor::Middle, false, true});
    }

    // A number that would touch the one before it is left out; its tick stays.
    void drawColumns() {
        double end = -std::numeric_limits<double>::infinity();
        for (const auto& [value, text] : ticksOf(plot_.x, x_.low(), x_.high(), stepsOf(frame_.width, 56.0))) {
            const double x = placeOf({value, y_.low()}).x;
            drawing_.drawLine({{x, frame_.y}, {x, frame_.bottom()}}, {kGridInk, 1.0});
            drawing_.drawLine({{x, frame_.bottom()}, {x, frame_.bottom() + kTickLength}}, {kInk, 1.0});
            const double half = textWidth(text, kSmallText) / 2.0;
            if (!plot_.x.isNumbered || (!plot_.x.isReversed && x - half < end))
                continue;
            drawing_.drawText({x, frame_.bottom() + kTickLength + 1.1 * kSmallText}, text,
                              {kInk, kSmallText, Anchor::Middle});
            end = x + half + 0.6 * kSmallText;
        }
    }

    void drawRows() {
        for (const auto& [value, text] : ticksOf(plot_.y, y_.low(), y_.high(), stepsOf(frame_.height, 44.0))) {
            const double y = placeOf({x_.low(), value}).y;
            drawing_.drawLine({{frame_.x, y}, {frame_.right(), y}}, {kGridInk, 1.0});
            drawing_.drawLine({{frame_.x - kTickLength, y}, {frame_.x, y}}, {kInk, 1.0});
            if (!plot_.y.isNumbered)
                continue;
            drawing_.drawText({frame_.x - kTickLength - 4.0, y + kCapHeight * kSmallText}, text,
                              {kInk, kSmallText, Anchor::End});
            widest_ = std::max(widest_, textWidth(text, kSmallText));
        }
    }

    static int stepsOf(double length, double room) { return std::max(1, static_cast<int>(length / room)); }

    void drawCurve(const Plot::Line& line) {
        for (const std::vector<Place>& stretch : stretchesOf(line)) {
            if (line.width > 0.0 && stretch.size() > 1)
                drawing_.drawLine(stretch, {line.colour, line.width, line.dash});
            for (const Place& place : stretch) {
                if (line.dots > 0.0)
                    drawing_.drawDot(place, line.dots, line.colour);
            }
        }
    }

    // Heights at least a line apart, as close to the wanted ones as their neighbours let them.
    std::vector<double> apart(const std::vector<std::pair<double, const Plot::Line*>>& ends) const {
        std::vector<double> heights;
        for (const auto& [end, line] : ends)
            heights.push_back(heights.empty() ? end : std::max(end, heights.back() + kLineHeight));
        // A group that was pushed down moves up again by half of what its last one had to give way.
        for (std::size_t first = 0; first < heights.size();) {
            std::size_t last = first;
            while (last + 1 < heights.size() && heights[last + 1] - heights[last] < kLineHeight + 0.5)
                ++last;
            double shift = (heights[last] - ends[last].first) / 2.0;
            if (first > 0)
                shift = std::min(shift, std::max(0.0, heights[first] - heights[first - 1] - kLineHeight));
            for (; first <= last; ++first)
                heights[first] -= shift;
        }
        if (const double over = heights.empty() ? 0.0 : heights.back() - frame_.bottom(); over > 0.0) {
            for (double& height : heights)
                height -= over;
        }
        return heights;
    }

    Drawing& drawing_;
    const Plot& plot_;
    Box frame_;
    Range x_;
    Range y_;
    double widest_ = 0.0;
};

// What the labels at the right need.
double labelRoom(const Plot& plot) {
    double widest = 0.0;
    for (const Plot::Line& line : plot.lines)
        widest = std::max(widest, textWidth(line.label, kTextSize));
    return widest > 0.0 ? widest + 24.0 + kGap : 2.0 * kGap;
}

}  // namespace

void Plot::limit(const std::string& label, std::vector<DataPoint> points, Beyond shaded) {
    lines.push_back({label, kNotPassed, std::move(points), 1.5, 5.0, 0.0, shaded});
}

Drawing draw(const Plot& plot, double width, double height) {
    Drawing drawing(width, height, kPaper);
    constexpr double kLeft = 84.0;
    constexpr double kBelow = 64.0;
    const double top = kGap + kTitleSize + (plot.note.empty() ? 0.0 : 1.5 * kTextSize) + kGap;
    drawing.drawText({kLeft, kGap + kTitleSize}, plot.title, {kInk, kTitleSize, Anchor::Start, true});
    if (!plot.note.empty())
        drawing.drawText({kLeft, kGap + kTitleSize + 1.5 * kTextSize}, plot.note, {kFaintInk, kTextSize});
    Plotter plotter(drawing, plot, {kLeft, top, width - kLeft - labelRoom(plot), height - top - kBelow});
    plotter.drawAll();
    plotter.drawLabels();
    return drawing;
}

void drawInside(Drawing& drawing, const Plot& plot, const Box& frame) {
    Plotter(drawing, plot, frame).drawAll();
}

}  // namespace qx::tool
