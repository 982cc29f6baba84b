#include "results/RecordCsv.h"

#include "common/ComparedNumbers.h"
#include "results/RecordJson.h"

#include <ostream>

namespace qx::tool {
namespace {

std::string quoted(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string cell = "\"";
    for (const char letter : text)
        cell += letter == '"' ? std::string("\"\"") : std::string(1, letter);
    return cell + '"';
}

// A value of the record's JSON as it stands there, without the quotes.
std::string cellOf(const Json& json, const char* key) {
    if (!json.contains(key))
        return "";
    return json[key].is_string() ? quoted(json[key].get<std::string>()) : json[key].dump();
}

std::string cellsOfRecord(const Record& record) {
    const Json json = toJson(record);
    std::string cells;
    for (const char* const key : {"file", "command", "check", "verdict", "code", "grade", "message"})
        cells += cellOf(json, key) + ',';
    return cells;
}

std::string cellsOfSubject(const Record& record) {
    const Json json = toJson(record);
    const Json shape = json.value("shape", Json::object());
    return cellOf(shape, "width") + ',' + cellOf(shape, "height") + ',' + cellOf(json, "bytes") + ',' +
           cellOf(json, "crc") + ',' + cellOf(json, "time");
}

std::string cellsOf(const Measure& measure) {
    std::string cells = quoted(measure.name) + ',' + shortText(measure.value) + ',' + quoted(measure.unit) + ',';
    if (!measure.limit)
        return cells + ",,,";
    return cells + symbolOf(measure.limit->comparison) + ',' + shortText(measure.limit->value) + ',' +
           (measure.limit->met ? "true" : "false") + ',';
}

}  // namespace

void printCsvHead(std::ostream& out) {
    out << "file,command,check,verdict,code,grade,message,measure,value,unit,comparison,limit,met,width,height,bytes,"
           "crc,time\n";
}

void printCsv(std::ostream& out, const Record& record) {
    const std::vector<Measure> measures = allMeasures(record);
    const std::string before = cellsOfRecord(record);
    const std::string after = cellsOfSubject(record);
    for (const Measure& measure : measures)
        out << before << cellsOf(measure) << after << '\n';
    if (measures.empty())
        out << before << ",,,,,," << after << '\n';
}

}  // namespace qx::tool
