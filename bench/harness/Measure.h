#pragma once

// Runs the methods of a row: once to compare their results, then interleaved for their times.

#include "harness/Row.h"

#include <optional>

namespace qx::bench {

// Median wall time of one run of each method, milliseconds. Empty where the row has no such method.
struct RowTimes {
    std::optional<double> oursMs;
    std::optional<double> plainMs;
    std::optional<double> peerMs;
    std::optional<double> limitMs;
};

// How long and how often methods run.
struct Effort {
    int repetitions = 9;
    bool single = false;  // one iteration of everything, for a dry run
};

// Prepares Google Benchmark; call once before measureRow.
void initialiseMeasuring();

// Runs each method once, then measures all of them in random order. Methods slower than a quarter of a second run one
// iteration in at most three repetitions; the time of those slower than five seconds is that of the first run.
// Throws std::runtime_error when a method's result disagrees with ours: times of wrong results mean nothing.
RowTimes measureRow(const Row& row, const Effort& effort);

}  // namespace qx::bench
