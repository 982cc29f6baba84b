#include "results/RecordCsv.h"

#include "results/CsvLine.h"
#include "results/RecordJson.h"
#include "text/ComparedNumbers.h"

#include <cstddef>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

constexpr std::size_t kMeasureColumns = 6;

using Cells = std::vector<std::string>;

// A value of the record's JSON as it stands there, without the quotes.
std::string cellOf(const Json& json, const char* key) {
    if (!json.contains(key))
        return "";
    return json[key].is_string() ? json[key].get<std::string>() : json[key].dump();
}

Cells cellsOf(const Json& json, std::initializer_list<const char*> keys) {
    Cells cells;
    for (const char* const key : keys)
        cells.push_back(cellOf(json, key));
    return cells;
}

Cells cellsOf(const Measure& measure) {
    Cells cells = {measure.name, shortText(measure.value), measure.unit};
    if (measure.limit) {
        const Limit& limit = *measure.limit;
        cells.insert(cells.end(), {symbolOf(limit.comparison), shortText(limit.value), limit.met ? "true" : "false"});
    }
    cells.resize(kMeasureColumns);
    return cells;
}

}  // namespace

void printCsvHead(std::ostream& out) {
    out << csvLine({"file", "command", "check", "verdict", "code", "grade", "message", "measure", "value", "unit",
                    "comparison", "limit", "met", "width", "height", "bytes", "crc", "time", "version"});
}

void printCsv(std::ostream& out, const Record& record) {
    // By way of a line, in which what is no UTF-8 is replaced.
    const Json json = Json::parse(toLine(toJson(record)));
    const Cells before = cellsOf(json, {"file", "command", "check", "verdict", "code", "grade", "message"});
    Cells after = cellsOf(json.value("shape", Json::object()), {"width", "height"});
    for (const std::string& cell : cellsOf(json, {"bytes", "crc", "time"}))
        after.push_back(cell);
    static const std::string version = documentHead().at("version");
    after.push_back(version);
    const auto print = [&](const Cells& measure) {
        Cells cells = before;
        cells.insert(cells.end(), measure.begin(), measure.end());
        cells.insert(cells.end(), after.begin(), after.end());
        out << csvLine(cells);
    };
    const std::vector<Measure> measures = allMeasures(record);
    for (const Measure& measure : measures)
        print(cellsOf(measure));
    if (measures.empty())
        print(Cells(kMeasureColumns));
}

}  // namespace qx::tool
