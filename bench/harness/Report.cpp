#include "harness/Report.h"

#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace qx::bench {

namespace {

constexpr int kWorkWidth = 56;
constexpr int kRatioWidth = 13;
constexpr int kLevelWidth = 15;
constexpr int kNameWidth = 27;

std::string ratioText(double ratio) {
    std::ostringstream text;
    if (ratio < 0.1)
        text << std::setprecision(2) << ratio;
    else
        text << std::fixed << std::setprecision(ratio >= 100 ? 0 : ratio >= 10 ? 1 : 2) << ratio;
    return text.str();
}

std::string ratioText(const std::optional<Time>& numerator, const std::optional<Time>& denominator) {
    return numerator && denominator ? ratioText(numerator->cpuMs / denominator->cpuMs) : "-";
}

void printCells(const std::string& work, const std::vector<std::string>& ratios) {
    std::cout << std::left << std::setw(kWorkWidth) << work << std::right;
    for (const std::string& ratio : ratios)
        std::cout << std::setw(kRatioWidth) << ratio;
}

void printLine(const std::string& work, const std::vector<std::string>& ratios, const std::string& level,
               const std::string& peerName, const std::string& limitName) {
    printCells(work, ratios);
    std::cout << "  " << std::left << std::setw(kLevelWidth) << level << std::setw(kNameWidth) << peerName << limitName
              << std::endl;
}

// Of the logarithms, by least squares.
double slopeOf(const std::vector<int>& sides, const std::vector<double>& cpuMs) {
    double x = 0.0, y = 0.0, xx = 0.0, xy = 0.0;
    for (std::size_t i = 0; i < sides.size(); ++i) {
        const double pixels = 2 * std::log(sides[i]);
        const double time = std::log(cpuMs[i]);
        x += pixels;
        y += time;
        xx += pixels * pixels;
        xy += pixels * time;
    }
    const auto count = static_cast<double>(sides.size());
    return (count * xy - x * y) / (count * xx - x * x);
}

}  // namespace

void printTableHead() {
    printLine("work", {"plain/ours", "peer/ours", "ours/limit", "ours/memory", "wall/CPU"}, "level", "peer", "limit");
}

void printTableRow(const RowReport& report) {
    const auto& [ours, plain, peer, limit, memory] = report.times;
    const bool isJob = ours && ours->faults > 0;
    std::string limitName = report.limitName;
    if (isJob && limit)
        limitName += "; " + ratioText(ours->faults / limit->faults) + " x its page faults";
    printLine(report.work,
              {ratioText(plain, ours), ratioText(peer, ours), ratioText(ours, limit), ratioText(ours, memory),
               ours && !isJob ? ratioText(ours->wallMs / ours->cpuMs) : "-"},
              report.level, report.peerName, limitName);
}

void printGrowthHead(const std::vector<int>& sides) {
    std::vector<std::string> heads;
    for (const int side : sides)
        heads.push_back(std::to_string(side));
    heads.emplace_back("slope");
    printCells("work, time of a pixel against the first side", heads);
    std::cout << std::endl;
}

void printGrowth(const std::string& work, const std::vector<int>& sides, const std::vector<double>& cpuMs) {
    const auto ofPixel = [&](std::size_t i) { return cpuMs[i] / sides[i] / sides[i]; };
    std::vector<std::string> ratios;
    for (std::size_t i = 0; i < sides.size(); ++i)
        ratios.push_back(ratioText(ofPixel(i) / ofPixel(0)));
    ratios.push_back(ratioText(slopeOf(sides, cpuMs)));
    printCells(work, ratios);
    std::cout << std::endl;
}

}  // namespace qx::bench
