#include "picture/Axes.h"
#include "text/DateText.h"
#include "text/TextTable.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace qx::tool {
namespace {

// Ends of ranges that are off by rounding still get their tick.
constexpr double kSlack = 1e-9;

// Of two, the shortest text that tells steps of this size apart.
std::string numberText(double value, double step) {
    const int decimals = std::clamp(static_cast<int>(-std::floor(std::log10(step) + kSlack)), 0, 9);
    return formatNumber(value == 0.0 ? 0.0 : value, decimals);
}

std::vector<Tick> linearTicks(double low, double high, int steps) {
    const double least = (high - low) / steps;
    const double power = std::pow(10.0, std::floor(std::log10(least)));
    double step = 10.0 * power;
    for (const double factor : {5.0, 2.0, 1.0}) {
        if (factor * power >= least * (1.0 - kSlack))
            step = factor * power;
    }
    std::vector<Tick> ticks;
    const double last = std::floor(high / step + kSlack);
    for (double i = std::ceil(low / step - kSlack); i <= last; ++i)
        ticks.push_back({i * step, numberText(i * step, step)});
    return ticks;
}

// Powers of ten, with 2 and 5 between them where there is room.
std::vector<Tick> logarithmicTicks(double low, double high, int steps) {
    const double decades = std::log10(high / low);
    if (decades < 1.0)
        return linearTicks(low, high, steps);
    const auto factors = decades * 3.0 <= steps ? std::vector{1.0, 2.0, 5.0} : std::vector{1.0};
    const double every = std::ceil(decades / steps);
    std::vector<Tick> ticks;
    for (double power = std::floor(std::log10(low)); power <= std::log10(high); power += every) {
        for (const double factor : factors) {
            const double value = factor * std::pow(10.0, power);
            if (value >= low * (1.0 - kSlack) && value <= high * (1.0 + kSlack))
                ticks.push_back({value, numberText(value, std::min(value, 1.0))});
        }
    }
    return ticks;
}

std::chrono::year_month_day dateOf(double day) {
    return std::chrono::sys_days{std::chrono::days{static_cast<int>(std::floor(day))}};
}

constexpr double kSecondsOfDay = 24.0 * 60.0 * 60.0;
constexpr double kMinute = 60.0;
constexpr double kHour = 3600.0;

std::string timeText(double day, bool tellsSeconds) {
    const double seconds = std::round(day * kSecondsOfDay);
    const double date = std::floor(seconds / kSecondsOfDay);
    const auto second = static_cast<int>(seconds - date * kSecondsOfDay);
    char text[40];
    const int length =
        std::snprintf(text, sizeof text, " %02d:%02d:%02d", second / 3600, second / 60 % 60, second % 60);
    return dateText(date) + std::string(text, static_cast<std::size_t>(tellsSeconds ? length : length - 3));
}

std::vector<Tick> dayTicks(double low, double high, double step) {
    std::vector<Tick> ticks;
    for (double i = std::ceil(low / step - kSlack); i <= high / step + kSlack; ++i)
        ticks.push_back(
            {i * step, step < 1.0 ? timeText(i * step, step < kMinute / kSecondsOfDay) : dateText(i * step)});
    return ticks;
}

std::vector<Tick> monthTicks(double low, double high, int months) {
    using namespace std::chrono;
    std::vector<Tick> ticks;
    const year_month_day first = dateOf(low);
    const int month = static_cast<int>(static_cast<unsigned>(first.month())) - 1;
    for (year_month at = first.year() / (first.month() - std::chrono::months{month % std::min(months, 12)});;
         at += std::chrono::months{months}) {
        const auto day = static_cast<double>(sys_days{at / 1}.time_since_epoch().count());
        if (day > high)
            return ticks;
        if (day >= low)
            ticks.push_back({day, dateText(day).substr(0, months < 12 ? 7 : 4)});
    }
}

std::vector<Tick> dateTicks(double low, double high, int steps) {
    const double least = (high - low) / steps;
    for (const double seconds : {1.0, 5.0, 15.0, kMinute, 2.0 * kMinute, 5.0 * kMinute, 15.0 * kMinute, kHour,
                                 3.0 * kHour, 6.0 * kHour, 12.0 * kHour}) {
        if (seconds / kSecondsOfDay >= least)
            return dayTicks(low, high, seconds / kSecondsOfDay);
    }
    for (const double step : {1.0, 2.0, 7.0, 14.0}) {
        if (step >= least)
            return dayTicks(low, high, step);
    }
    for (const int months : {1, 2, 3, 6, 12, 24, 60, 120}) {
        if (30.4 * months >= least)
            return monthTicks(low, high, months);
    }
    return monthTicks(low, high, 1200);
}

}  // namespace

std::vector<Tick> ticksOf(const Axis& axis, double low, double high, int steps) {
    std::vector<Tick> ticks;
    if (!axis.ticks.empty()) {
        for (const double value : axis.ticks)
            ticks.push_back({value, formatNumber(value, value == std::floor(value) ? 0 : 2)});
    } else if (axis.scale == AxisScale::Days) {
        // Dates need more room than numbers.
        ticks = dateTicks(low, high, std::max(1, 2 * steps / 3));
    } else if (axis.scale == AxisScale::Logarithmic) {
        ticks = logarithmicTicks(low, high, steps);
    } else {
        ticks = linearTicks(low, high, steps);
    }
    std::erase_if(ticks, [&](const Tick& tick) { return tick.value < low || tick.value > high; });
    for (Tick& tick : ticks)
        tick.text += axis.unit;
    return ticks;
}

}  // namespace qx::tool
