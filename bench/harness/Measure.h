#pragma once

// Runs the methods of a row: once to compare their results, then interleaved for their times.

#include "harness/Row.h"

#include <iosfwd>
#include <optional>

namespace qx::bench {

// Medians of one run of a method.
struct Time {
    double cpuMs = 0.0;   // of the thread; of the thread and the programs it ran in a row that is a job
    double wallMs = 0.0;  // nothing that can be compared in a row that is a job
    double faults = 0.0;  // page faults, in a row that is a job
};

// Empty where the row has no such method.
struct RowTimes {
    std::optional<Time> ours;
    std::optional<Time> plain;
    std::optional<Time> peer;
    std::optional<Time> limit;        // the bytes come from the cache if they fit in
    std::optional<Time> memoryLimit;  // the same from memory
};

// How long and how often methods run.
struct Effort {
    int repetitions = 9;
    bool single = false;     // one iteration of everything, for a dry run
    bool oursAlone = false;  // nothing is compared
};

// What is told of the machine and the program in the file of all times.
struct Circumstances {
    std::string machine;
    std::string commit;
    std::string level;
};

// Measures rows, and writes the medians as JSON of Google Benchmark's form when there is a stream for it: a benchmark
// WORK/METHOD for each method. One object at a time.
class Measurer {
public:
    Measurer(const Circumstances& circumstances, std::ostream* json);
    ~Measurer();
    Measurer(const Measurer&) = delete;
    Measurer& operator=(const Measurer&) = delete;

    // Runs each method once, then measures all of them in random order. Methods slower than a quarter of a second run
    // one iteration in at most three repetitions; the time of those slower than five seconds is that of the first run.
    // Throws std::runtime_error when a method's result disagrees with ours: times of wrong results mean nothing.
    RowTimes measure(const std::string& work, const Row& row, const Effort& effort);

private:
    class Reporter;
    std::unique_ptr<Reporter> reporter_;
};

}  // namespace qx::bench
