#pragma once

#include "common/Shape.h"

#include <QxUtils/Measures.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What a command found out, one record for each judgement: tables, JSON, CSV, the store and the report are made of
// these.

namespace qx::tool {

// What a value is judged by.
struct Limit {
    MeasureComparison comparison = MeasureBelow;
    double value = 0.0;
    int requirement = 0;  // measures of the same number are alternatives: one that is met is enough
    bool met = true;
};

struct Measure {
    std::string name;
    double value = 0.0;
    std::string unit;  // empty for ratios
    int decimals = 0;  // that tables show, more where the limit is close
    std::optional<Limit> limit{};
};

// One square of an SNR series; what comes from the factory's series is missing without one.
struct SnrSquare {
    int side = 0;  // pixels
    double measured = 0.0;
    std::optional<double> factory{};
    std::optional<double> expected{};  // a measured value below it counts against the image
    bool isBelow = false;
};

enum class Verdict {
    Passed,
    NotPassed,
    Measured,  // nothing was judged
    Failed,    // no verdict could be given; the message says why
};

// "passed", "not passed", "measured", "failed"
const char* toText(Verdict verdict);

// What the record is about. Several files are judged as one: the last one is named.
struct Subject {
    std::string file;
    std::optional<std::int64_t> bytes{};
    std::optional<std::uint32_t> crc{};  // CRC-32 of the whole content
    std::optional<Shape> shape{};
    std::string time{};  // when the file was last written, as 2024-03-07T12:30:00Z; empty when nobody knows
};

struct Record {
    std::string command;  // as on the command line: "check first"
    std::string check{};  // the library's function that judged; empty where nothing is judged
    Subject subject{};
    Verdict verdict = Verdict::Measured;
    std::optional<int> code{};   // the function's status code
    std::string message{};       // what it means, or why there is no verdict
    std::optional<int> grade{};  // of a one-shot calibration: 1090, 1091, 1092
    std::vector<Measure> measures{};
    std::vector<SnrSquare> squares{};
    std::string text{};  // what tables show instead of the measures; no part of the other formats
};

// The squares as measures: "SNR of 64 x 64", at least what is expected.
std::vector<Measure> allMeasures(const Record& record);

inline constexpr std::array kComparisons = {MeasureBelow, MeasureAtMost, MeasureAbove, MeasureAtLeast};

// "<", "<=", ">" or ">=": how the value ought to stand to the limit.
const char* symbolOf(MeasureComparison comparison);

// A value as a person would write it: the shortest decimal that is the same in single precision, where the value has no
// more than that.
double plainNumber(double value);

}  // namespace qx::tool
