#pragma once

#include "store/PanelStore.h"

#include <optional>
#include <string>
#include <vector>

// Where the measures of a panel are going: a straight line through each, and the day on which it meets the limit.

namespace qx::tool {

enum class Outlook {
    Unlimited,  // there is no limit to meet
    Unknown,    // fewer than three different times tell nothing
    Already,    // the last value, or the line at its time, is beyond the limit
    Ahead,      // the line meets the limit on a day to come
    Never,      // not within ten years of the last value
    MovesAway,
};

struct Forecast {
    double slopePerDay = 0.0;
    double lastOnLine = 0.0;  // the line's value at the last point
};

struct Trend {
    TrendSeries series;
    double mean = 0.0;
    std::optional<Forecast> forecast{};  // of three different times or more
    Outlook outlook = Outlook::Unknown;
    std::optional<double> limitDay{};  // when the limit is met, days since 1970

    const TrendPoint& first() const { return series.points.front(); }
    const TrendPoint& last() const { return series.points.back(); }
};

Trend trendOf(const TrendSeries& series);

std::vector<Trend> trendsOf(const PanelStore& store, const TrendFilter& filter = {});

// A date, or in a few words why there is none.
std::string outlookText(const Trend& trend);

// [{"check", "measure", "unit", "comparison", "limit", "points": [{"time", "value", "file"}], "outlook",
// "forecast": {"limitDate": "2027-01-03" or null, "slopePerDay"} or null}], comparison and limit where there is one.
Json trendsJson(const std::vector<Trend>& trends);

}  // namespace qx::tool
