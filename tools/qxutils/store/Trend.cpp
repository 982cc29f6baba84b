#include "store/Trend.h"

#include "text/DateText.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace qx::tool {
namespace {

constexpr double kYearDays = 365.25;
constexpr double kHorizonDays = 10 * kYearDays;
constexpr std::size_t kFewestTimes = 3;

double meanOf(const std::vector<TrendPoint>& points) {
    const double sum = std::accumulate(points.begin(), points.end(), 0.0,
                                       [](double total, const TrendPoint& point) { return total + point.value; });
    return sum / static_cast<double>(points.size());
}

// The points come in the order of their times.
std::size_t differentTimes(const std::vector<TrendPoint>& points) {
    std::size_t count = 1;
    for (std::size_t i = 1; i < points.size(); ++i)
        count += points[i].day > points[i - 1].day ? 1 : 0;
    return count;
}

// By least squares, in double precision: polyFit's single one shows in the slope as it is printed.
Forecast fitLine(const std::vector<TrendPoint>& points, double mean) {
    double meanDay = 0.0;
    for (const TrendPoint& point : points)
        meanDay += point.day / static_cast<double>(points.size());
    double together = 0.0;
    double alone = 0.0;
    for (const TrendPoint& point : points) {
        together += (point.day - meanDay) * (point.value - mean);
        alone += (point.day - meanDay) * (point.day - meanDay);
    }
    const double slope = together / alone;
    return {slope, mean + slope * (points.back().day - meanDay)};
}

bool isUpper(const Limit& limit) {
    return limit.comparison == MeasureBelow || limit.comparison == MeasureAtMost;
}

Outlook outlookOf(const Trend& trend) {
    const std::optional<Limit>& limit = trend.series.limit;
    if (!limit)
        return Outlook::Unlimited;
    if (!limit->met)
        return Outlook::Already;
    if (!trend.forecast)
        return Outlook::Unknown;
    const double slope = trend.forecast->slopePerDay;
    const double room = limit->value - trend.forecast->lastOnLine;
    if (isUpper(*limit) ? room < 0 : room > 0)
        return Outlook::Already;
    if (isUpper(*limit) ? slope < 0 : slope > 0)
        return Outlook::MovesAway;
    // A limit or a slope that is no number meets nothing.
    return std::abs(room) <= kHorizonDays * std::abs(slope) && std::isfinite(slope) ? Outlook::Ahead : Outlook::Never;
}

Json toJson(const TrendPoint& point) {
    return {{"time", point.time}, {"value", point.value}, {"file", point.file}};
}

Json forecastJson(const Trend& trend) {
    if (!trend.forecast)
        return nullptr;
    const Json date = trend.limitDay ? Json(dateText(*trend.limitDay)) : Json(nullptr);
    return {{"limitDate", date}, {"slopePerDay", trend.forecast->slopePerDay}};
}

Json toJson(const Trend& trend) {
    const TrendSeries& series = trend.series;
    Json json = {{"check", series.check}, {"measure", series.measure}, {"unit", series.unit}};
    if (series.limit) {
        json["comparison"] = symbolOf(series.limit->comparison);
        json["limit"] = series.limit->value;
    }
    json["points"] = Json::array();
    for (const TrendPoint& point : series.points)
        json["points"].push_back(toJson(point));
    json["outlook"] = outlookText(trend);
    json["forecast"] = forecastJson(trend);
    return json;
}

}  // namespace

Trend trendOf(const TrendSeries& series) {
    Trend trend{series, meanOf(series.points)};
    if (differentTimes(series.points) >= kFewestTimes)
        trend.forecast = fitLine(series.points, trend.mean);
    trend.outlook = outlookOf(trend);
    if (trend.outlook == Outlook::Ahead) {
        const double room = series.limit->value - trend.forecast->lastOnLine;
        trend.limitDay = series.points.back().day + (room == 0.0 ? 0.0 : room / trend.forecast->slopePerDay);
    }
    return trend;
}

std::vector<Trend> trendsOf(const PanelStore& store, const TrendFilter& filter) {
    std::vector<Trend> trends;
    for (const TrendSeries& series : store.series(filter))
        trends.push_back(trendOf(series));
    return trends;
}

std::string outlookText(const Trend& trend) {
    switch (trend.outlook) {
    case Outlook::Unlimited:
        return "no limit";
    case Outlook::Unknown:
        return "too few times";
    case Outlook::Already:
        return "already";
    case Outlook::Ahead:
        return dateText(trend.limitDay.value());
    case Outlook::Never:
        return "not in 10 years";
    default:
        return "moves away";
    }
}

Json trendsJson(const std::vector<Trend>& trends) {
    Json json = Json::array();
    for (const Trend& trend : trends)
        json.push_back(toJson(trend));
    return json;
}

}  // namespace qx::tool
