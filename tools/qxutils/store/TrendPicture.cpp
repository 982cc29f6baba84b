#include "store/TrendPicture.h"

#include "picture/Axes.h"
#include "picture/Look.h"
#include "text/ComparedNumbers.h"

#include <algorithm>
#include <string>
#include <variant>

namespace qx::tool {
namespace {

constexpr double kWidth = 960.0;
constexpr double kHeight = 400.0;

// The line is drawn so many times as far ahead as there are values behind.
constexpr double kMostAhead = 2.0;

void move(Place& place, double down) {
    place.y += down;
}

void moveDown(Mark& mark, double down) {
    if (auto* const area = std::get_if<Area>(&mark)) {
        for (Place& corner : area->corners)
            move(corner, down);
    } else if (auto* const stroke = std::get_if<Stroke>(&mark)) {
        for (Place& place : stroke->places)
            move(place, down);
    } else if (auto* const dot = std::get_if<Dot>(&mark)) {
        move(dot->centre, down);
    } else if (auto* const text = std::get_if<Text>(&mark)) {
        move(text->place, down);
    } else {
        move(std::get<PlacedPicture>(mark).corner, down);
    }
}

// Values of one time stand in the middle of a day.
double marginOf(const Trend& trend) {
    return trend.last().day > trend.first().day ? 0.0 : 0.5;
}

double firstDayShown(const Trend& trend) {
    return trend.first().day - marginOf(trend);
}

double lastDayShown(const Trend& trend) {
    const double last = trend.last().day;
    const double span = last - trend.first().day;
    return trend.limitDay ? std::min(*trend.limitDay, last + kMostAhead * span) : last + marginOf(trend);
}

void addValues(Plot& plot, const Trend& trend) {
    std::vector<DataPoint> values;
    for (const TrendPoint& point : trend.series.points)
        values.push_back({point.day, point.value});
    plot.points("measured", kTrue, std::move(values));
}

void addLine(Plot& plot, const Trend& trend) {
    const double slope = trend.forecast->slopePerDay;
    const auto onLine = [&](double day) {
        return DataPoint{day, trend.forecast->lastOnLine + slope * (day - trend.last().day)};
    };
    plot.lines.push_back({"straight line", kFaintInk, {onLine(trend.first().day), onLine(lastDayShown(trend))}, 1.5});
    plot.lines.back().dots = 0.0;
}

void addLimit(Plot& plot, const Trend& trend) {
    const Limit& limit = *trend.series.limit;
    const bool isLower = limit.comparison == MeasureAbove || limit.comparison == MeasureAtLeast;
    plot.limit(std::string("limit ") + symbolOf(limit.comparison) + ' ' + shortText(limit.value),
               {{firstDayShown(trend), limit.value}, {lastDayShown(trend), limit.value}},
               isLower ? Beyond::Below : Beyond::Above);
}

Plot plotOf(const Trend& trend) {
    const TrendSeries& series = trend.series;
    const std::string label = series.unit.empty() ? series.measure : series.measure + " (" + series.unit + ")";
    Plot plot{series.check + ": " + series.measure, {"day", AxisScale::Days}, {label}};
    if (series.limit)
        plot.note = "Limit met: " + outlookText(trend) + '.';
    addValues(plot, trend);
    if (trend.forecast)
        addLine(plot, trend);
    if (series.limit)
        addLimit(plot, trend);
    return plot;
}

}  // namespace

Drawing drawTrends(const std::vector<Trend>& trends) {
    Drawing all(kWidth, kHeight * static_cast<double>(trends.size()), kPaper);
    double top = 0.0;
    for (const Trend& trend : trends) {
        const Drawing one = draw(plotOf(trend), kWidth, kHeight);
        for (Mark mark : one.marks()) {
            moveDown(mark, top);
            all.add(std::move(mark));
        }
        top += kHeight;
    }
    return all;
}

}  // namespace qx::tool
