#pragma once

#include "results/RecordJson.h"
#include "store/Sqlite.h"

#include <optional>
#include <string>
#include <vector>

// What is remembered of a panel: every result that was given a verdict or measured, in a SQLite file. Several processes
// may write to it at once, and one that is killed leaves whole results behind.

namespace qx::tool {

// One value of a measure.
struct TrendPoint {
    std::string time;  // when the file was last written; when it was judged where nobody knows
    double day = 0.0;  // the same, days since 1970
    double value = 0.0;
    std::string file;
};

// A measure over time, its limit as it was last.
struct TrendSeries {
    std::string check;  // the command where nothing is judged
    std::string measure;
    std::string unit;
    int decimals = 0;
    std::optional<Limit> limit{};
    std::vector<TrendPoint> points{};
};

// What trends are asked for; empty for all.
struct TrendFilter {
    std::string check{};    // the check, the command or its last word
    std::string measure{};  // a part of the measure's name
    std::string since{};    // a date or time as records have it
};

class PanelStore {
public:
    // Opens a store, and creates it for writing. Throws a ToolError for anything else under its name.
    enum class Use { Reading, Writing };
    explicit PanelStore(const std::string& path, Use use = Use::Writing);

    // Keeps results, all of them or none. The same numbers that the same judgement found in the same content are kept
    // once, with the names of the other files; without a CRC it is the file's name and time that count. A record
    // without a verdict is not kept.
    void add(const std::vector<Record>& records, const Json& detector);
    void add(const Record& record, const Json& detector) { add(std::vector{record}, detector); }

    // Whether a command's result of this file is kept: one of its CRC, or one that was judged after its time.
    bool holds(const std::string& command, const Subject& subject) const;

    // What TrendFilter::check may be.
    std::vector<std::string> checkNames() const;

    // By check, in the order in which each measures; the points by time.
    std::vector<TrendSeries> series(const TrendFilter& filter = {}) const;

private:
    void create();
    void insert(const Record& record, const std::string& detector);

    std::string path_;
    Database database_;
};

}  // namespace qx::tool
