#pragma once

#include "report/ImageSummary.h"
#include "report/Overlays.h"
#include "results/Record.h"
#include "results/RecordJson.h"

#include <string>
#include <vector>

namespace qx::tool {

// What a report says at its head: "Factory series" and the name of the file.
struct ReportFact {
    std::string name;
    std::string value;
};

struct ReportImage {
    std::string name;  // as the records name their file
    ImageSummary summary;
    std::vector<Overlay> overlays;
};

// All that a report tells.
struct Report {
    std::string title;
    std::vector<Json> heads;  // of the runs that judged: documentHead(), or what results of another run say
    std::vector<ReportFact> facts;
    std::vector<Record> records;
    std::vector<ReportImage> images;
    std::vector<std::string> logLines;
    // [{"check", "measure", "unit", "comparison", "limit", "points": [{"time", "value", "file"}...], "forecast":
    // {"limitDate": a date or null, "slopePerDay"} or null}...], oldest points first.
    Json trends = Json::array();
};

// The whole page: it loads nothing, and tells every result without JavaScript, too.
std::string renderReport(const Report& report);

// Writes the page, and beside it, under the same name with the endings .json and .csv, the records.
void writeReport(const std::string& path, const Report& report);

// What writeReport writes beside the page; throws a ToolError for a path that does not end in .html.
std::string besideReport(const std::string& path, const std::string& ending);

}  // namespace qx::tool
