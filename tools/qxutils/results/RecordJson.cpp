#include "results/RecordJson.h"

#include "common/ToolError.h"
#include "files/InputFile.h"
#include "text/DateText.h"
#include "text/FileName.h"

#include <QxSysMgt.h>
#include <QxUtils/Foundation.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cmath>
#include <limits>
#include <sstream>

namespace qx::tool {
namespace {

constexpr std::int64_t kMaxResultsBytes = std::int64_t{1} << 28;
constexpr int kMaxDecimals = 20;
constexpr std::size_t kMaxQuoted = 40;
constexpr int kMaxDepth = 64;
constexpr const char* kResultsWanted = "results that qxutils wrote with --format json";
constexpr std::array kVerdicts = {Verdict::Passed, Verdict::NotPassed, Verdict::Measured, Verdict::Failed};

double numberFromJson(const Json& json) {
    if (json.is_null())
        return std::numeric_limits<double>::quiet_NaN();
    if (json == "Infinity" || json == "-Infinity")
        return json == "Infinity" ? HUGE_VAL : -HUGE_VAL;
    return json.get<double>();
}

// Results may come from anywhere, and are used as sizes and as the length of texts.
int integerFromJson(const Json& json, int least = INT_MIN, int most = INT_MAX) {
    if (!json.is_number_integer() || json < least || json > most)
        throw std::runtime_error(json.dump().substr(0, kMaxQuoted) + " is no integer that can stand there");
    return json.get<int>();
}

// The value whose text is given, as the first function has it.
template <class Value, std::size_t Count>
Value named(const std::array<Value, Count>& values, const char* (*textOf)(Value), const Json& json) {
    for (const Value value : values) {
        if (json.get<std::string>() == textOf(value))
            return value;
    }
    throw std::runtime_error("\"" + json.get<std::string>().substr(0, kMaxQuoted) + "\" is unknown");
}

std::string crcText(std::uint32_t crc) {
    std::string digits(8, '0');
    for (std::size_t i = digits.size(); i-- > 0; crc >>= 4)
        digits[i] = "0123456789abcdef"[crc & 0xF];
    return digits;
}

std::uint32_t crcFromText(const std::string& text) {
    std::uint32_t crc = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), crc, 16).ptr != text.data() + text.size())
        throw std::runtime_error("\"" + text.substr(0, kMaxQuoted) + "\" is no CRC");
    return crc;
}

Json toJson(const Measure& measure) {
    Json json = {{"name", measure.name},
                 {"value", numberToJson(measure.value)},
                 {"unit", measure.unit},
                 {"decimals", measure.decimals}};
    if (measure.limit) {
        json["comparison"] = symbolOf(measure.limit->comparison);
        json["limit"] = numberToJson(measure.limit->value);
        json["requirement"] = measure.limit->requirement;
        json["met"] = measure.limit->met;
    }
    return json;
}

Measure measureFromJson(const Json& json) {
    Measure measure{json.at("name"), numberFromJson(json.at("value")), json.at("unit"),
                    integerFromJson(json.at("decimals"), 0, kMaxDecimals)};
    if (json.contains("limit")) {
        measure.limit = {named(kComparisons, symbolOf, json.at("comparison")), numberFromJson(json.at("limit")),
                         integerFromJson(json.at("requirement")), json.at("met")};
    }
    return measure;
}

Json toJson(const SnrSquare& square) {
    Json json = {{"side", square.side}, {"measured", numberToJson(square.measured)}};
    if (square.factory)
        json["factory"] = numberToJson(*square.factory);
    if (square.expected) {
        json["expected"] = numberToJson(*square.expected);
        json["below"] = square.isBelow;
    }
    return json;
}

SnrSquare squareFromJson(const Json& json) {
    SnrSquare square{integerFromJson(json.at("side"), 1, kMaxSide), numberFromJson(json.at("measured"))};
    if (json.contains("factory"))
        square.factory = numberFromJson(json.at("factory"));
    if (json.contains("expected")) {
        square.expected = numberFromJson(json.at("expected"));
        square.isBelow = json.at("below");
    }
    return square;
}

void addSubject(Json& json, const Subject& subject) {
    json["file"] = inUtf8(subject.file);
    if (subject.bytes)
        json["bytes"] = *subject.bytes;
    if (subject.crc)
        json["crc"] = crcText(*subject.crc);
    if (subject.shape)
        json["shape"] = {{"width", subject.shape->width}, {"height", subject.shape->height}};
    if (!subject.time.empty())
        json["time"] = subject.time;
}

Subject subjectFromJson(const Json& json) {
    Subject subject{json.at("file")};
    if (json.contains("bytes"))
        subject.bytes = json.at("bytes").get<std::int64_t>();
    if (json.contains("crc"))
        subject.crc = crcFromText(json.at("crc"));
    if (json.contains("shape"))
        subject.shape = Shape{integerFromJson(json.at("shape").at("width"), 1, kMaxSide),
                              integerFromJson(json.at("shape").at("height"), 1, kMaxSide)};
    subject.time = json.value("time", "");
    if (!subject.time.empty() && !isDateOrTime(subject.time))
        throw std::runtime_error("\"" + subject.time.substr(0, kMaxQuoted) + "\" is no time");
    return subject;
}

// Without a kit that answers there is less to tell.
Json detectorJson() {
    Json json = Json::object();
    DetectorInformation information{};
    if (getDetectorInformation(&information) == 0)
        json["description"] = information.description;
    if (const char* const machine = getMachineID(); machine != nullptr)
        json["machine"] = machine;
    json["gain"] = getGainId();
    json["exposureTimeMs"] = getCurrentExpTime();
    StatusInformation status{};
    if (getStatusInformation(&status) == 0)
        json["temperatureC"] = status.temperature;
    return json;
}

std::string versionNumber() {
    const std::string version = getQxUtilsDllVersion();
    return version.substr(version.find_first_of("0123456789"));
}

// What stands before results: of a document once, of lines in each.
void addHead(const Json& json, std::vector<Json>& heads) {
    if (!json.contains("schema"))
        return;
    if (json.at("schema") != kResultsSchema)
        throw std::runtime_error("of schema " + json.at("schema").dump().substr(0, kMaxQuoted) +
                                 ", which this version does not read");
    Json head = {{"version", json.value("version", "")}, {"detector", json.value("detector", Json::object())}};
    if (!head.at("detector").is_object())
        throw std::runtime_error("its detector is no object");
    if (std::ranges::find(heads, head) == heads.end())
        heads.push_back(std::move(head));
}

}  // namespace

Json documentHead() {
    return {
        {"schema", kResultsSchema}, {"program", "qxutils"}, {"version", versionNumber()}, {"detector", detectorJson()}};
}

Json numberToJson(double value) {
    if (std::isnan(value))
        return nullptr;
    if (std::isinf(value))
        return value > 0 ? "Infinity" : "-Infinity";
    return value;
}

Json toJson(const Record& record) {
    Json json = {{"command", record.command}};
    if (!record.check.empty())
        json["check"] = record.check;
    addSubject(json, record.subject);
    json["verdict"] = toText(record.verdict);
    if (record.code)
        json["code"] = *record.code;
    if (!record.message.empty())
        json["message"] = record.message;
    if (record.grade)
        json["grade"] = *record.grade;
    json["measures"] = Json::array();
    for (const Measure& measure : record.measures)
        json["measures"].push_back(toJson(measure));
    // What becomes a list without memory for it is destroyed as one.
    if (!record.squares.empty())
        json["squares"] = Json::array();
    for (const SnrSquare& square : record.squares)
        json["squares"].push_back(toJson(square));
    return json;
}

Record recordFromJson(const Json& json) {
    Record record{json.at("command")};
    record.check = json.value("check", "");
    record.subject = subjectFromJson(json);
    record.verdict = named(kVerdicts, toText, json.at("verdict"));
    if (json.contains("code"))
        record.code = integerFromJson(json.at("code"));
    record.message = json.value("message", "");
    if (json.contains("grade"))
        record.grade = integerFromJson(json.at("grade"));
    for (const Json& measure : json.at("measures"))
        record.measures.push_back(measureFromJson(measure));
    if (json.contains("squares")) {
        for (const Json& square : json.at("squares"))
            record.squares.push_back(squareFromJson(square));
    }
    return record;
}

Json parseJson(const std::string& text, bool throwsForOther) {
    const auto refuseDepth = [](int depth, Json::parse_event_t, const Json&) {
        if (depth > kMaxDepth)
            throw std::runtime_error("nested deeper than " + std::to_string(kMaxDepth));
        return true;
    };
    return Json::parse(text, refuseDepth, throwsForOther);
}

Results parseResults(const std::string& text) {
    Results results;
    const Json document = parseJson(text, false);
    if (!document.is_discarded() && document.contains("results")) {
        addHead(document, results.heads);
        for (const Json& json : document.at("results"))
            results.records.push_back(recordFromJson(json));
        return results;
    }
    std::istringstream lines(text);
    lines.exceptions(std::ios::badbit);
    for (std::string line; std::getline(lines, line);) {
        const Json json = parseJson(line);
        addHead(json, results.heads);
        results.records.push_back(recordFromJson(json));
    }
    if (results.records.empty())
        throw std::runtime_error("empty");
    return results;
}

Json agreedHead(const std::vector<Json>& heads) {
    Json agreed = documentHead();
    if (heads.empty())
        return agreed;
    const Json& first = heads.front();
    if (std::ranges::all_of(heads, [&](const Json& head) { return head.at("version") == first.at("version"); }))
        agreed["version"] = first.at("version");
    agreed["detector"] = Json::object();
    for (const auto& item : first.at("detector").items()) {
        const auto agrees = [&item](const Json& head) {
            return head.at("detector").value(item.key(), Json()) == item.value();
        };
        if (std::ranges::all_of(heads, agrees))
            agreed["detector"][item.key()] = item.value();
    }
    return agreed;
}

std::string toLine(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

bool isResultsName(const std::string& path) {
    return hasEnding(path, ".json");
}

Results loadResults(const std::string& path) {
    const std::string text = readWhole(path, kResultsWanted, kMaxResultsBytes);
    try {
        return parseResults(text);
    } catch (const std::exception& error) {
        throw ToolError(path + ": holds no results (" + error.what() + "); give " + kResultsWanted);
    }
}

}  // namespace qx::tool
