#pragma once

#include "results/Record.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

// Records as JSON, in the form that docs/results.schema.json describes.

namespace qx::tool {

// Keys stand in the order in which they are written.
using Json = nlohmann::ordered_json;

inline constexpr int kResultsSchema = 1;

// {"schema", "program", "version", "detector"}: what a document says before its results.
Json documentHead();

// JSON has no other numbers than finite ones: null, "Infinity" or "-Infinity" stand for these.
Json numberToJson(double value);

Json toJson(const Record& record);

// Throws a std::exception for what is no record.
Record recordFromJson(const Json& json);

// Refuses what is nested deeper than any results, which could exhaust the stack. Throws a std::exception for what is no
// JSON, or returns a discarded value.
Json parseJson(const std::string& text, bool throwsForOther = true);

// Whether a name is that of such results: it ends in ".json".
bool isResultsName(const std::string& path);

// What a document or lines hold, one record a line.
struct Results {
    std::vector<Record> records;
    std::vector<Json> heads;  // what stands before the records, each once
};

// Throws a std::exception for anything else, and for results of another schema.
Results parseResults(const std::string& text);
inline std::vector<Record> parseRecords(const std::string& text) {
    return parseResults(text).records;
}

// Of results that stand together: of the detector, what all these heads say; documentHead() without any.
Json agreedHead(const std::vector<Json>& heads);

// One line, bytes that are no UTF-8 replaced.
std::string toLine(const Json& json);

// Those of a file or stream; throws a ToolError for anything else.
Results loadResults(const std::string& path);
inline std::vector<Record> loadRecords(const std::string& path) {
    return loadResults(path).records;
}

}  // namespace qx::tool
