#pragma once

// The tables of ratios on the terminal.

#include "harness/Measure.h"

#include <string>
#include <vector>

namespace qx::bench {

struct RowReport {
    std::string work;
    std::string peerName;
    std::string limitName;
    std::string level;
    RowTimes times;
};

// Ratios of CPU time only: times are worth comparing on one machine and one run alone.
void printTableHead();
void printTableRow(const RowReport& report);

// How the time of a row grows with the side of its images: the time of a pixel against that of the first side, and the
// slope of time over pixels, 1 where it grows as they do.
void printGrowthHead(const std::vector<int>& sides);
void printGrowth(const std::string& work, const std::vector<int>& sides, const std::vector<double>& cpuMs);

}  // namespace qx::bench
