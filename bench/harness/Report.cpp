#include "harness/Report.h"

#include <iomanip>
#include <iostream>
#include <sstream>

namespace qx::bench {

namespace {

constexpr int kWorkWidth = 56;
constexpr int kRatioWidth = 13;
constexpr int kLevelWidth = 15;
constexpr int kNameWidth = 27;

std::string ratioText(std::optional<double> numerator, std::optional<double> denominator) {
    if (!numerator || !denominator)
        return "-";
    const double ratio = *numerator / *denominator;
    std::ostringstream text;
    if (ratio < 0.1)
        text << std::setprecision(2) << ratio;
    else
        text << std::fixed << std::setprecision(ratio >= 100 ? 0 : ratio >= 10 ? 1 : 2) << ratio;
    return text.str();
}

void printLine(const std::string& work, const std::string& plain, const std::string& peer, const std::string& limit,
               const std::string& level, const std::string& peerName, const std::string& limitName) {
    std::cout << std::left << std::setw(kWorkWidth) << work << std::right << std::setw(kRatioWidth) << plain
              << std::setw(kRatioWidth) << peer << std::setw(kRatioWidth) << limit << "  " << std::left
              << std::setw(kLevelWidth) << level << std::setw(kNameWidth) << peerName << limitName << std::endl;
}

nlohmann::ordered_json orNull(const std::optional<double>& value) {
    return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json(nullptr);
}

nlohmann::ordered_json orNull(const std::string& text) {
    return text.empty() ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(text);
}

}  // namespace

void printTableHead() {
    printLine("work", "plain/ours", "peer/ours", "ours/limit", "level", "peer", "limit");
}

void printTableRow(const RowReport& report) {
    const RowTimes& times = report.times;
    printLine(report.work, ratioText(times.plainMs, times.oursMs), ratioText(times.peerMs, times.oursMs),
              ratioText(times.oursMs, times.limitMs), report.level, report.peerName, report.limitName);
}

nlohmann::ordered_json toJson(const RowReport& report) {
    return {{"work", report.work},
            {"ours_ms", orNull(report.times.oursMs)},
            {"plain_ms", orNull(report.times.plainMs)},
            {"peer", orNull(report.peerName)},
            {"peer_ms", orNull(report.times.peerMs)},
            {"limit", orNull(report.limitName)},
            {"limit_ms", orNull(report.times.limitMs)},
            {"level", report.level}};
}

}  // namespace qx::bench
