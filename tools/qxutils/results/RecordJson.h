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

// The records of a document or of lines, one a line; throws a std::exception for anything else.
std::vector<Record> parseRecords(const std::string& text);

// One line, bytes that are no UTF-8 replaced.
std::string toLine(const Json& json);

// Those of a file or stream; throws a ToolError for anything else.
std::vector<Record> loadRecords(const std::string& path);

}  // namespace qx::tool
