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

Json toJson(const Record& record);

// Throws nlohmann::json::exception for what is no record.
Record recordFromJson(const Json& json);

// One line, bytes that are no UTF-8 replaced.
std::string toLine(const Json& json);

// The records of a document or of lines, one a line, as the tool writes them; throws a ToolError for anything else.
std::vector<Record> loadRecords(const std::string& path);

}  // namespace qx::tool
