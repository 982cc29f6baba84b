#pragma once

// The table of ratios on the terminal, and the measured medians as JSON.

#include "harness/Measure.h"

#include <nlohmann/json.hpp>

#include <string>

namespace qx::bench {

struct RowReport {
    std::string work;
    std::string peerName;
    std::string limitName;
    std::string level;
    RowTimes times;
};

// Ratios only: times are worth comparing on one machine and one run alone.
void printTableHead();
void printTableRow(const RowReport& report);

nlohmann::ordered_json toJson(const RowReport& report);

}  // namespace qx::bench
