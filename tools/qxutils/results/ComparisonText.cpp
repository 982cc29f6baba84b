#include "results/Comparison.h"
#include "results/CsvLine.h"
#include "text/ComparedNumbers.h"
#include "text/FileName.h"
#include "text/TextTable.h"

#include <cmath>
#include <cstddef>
#include <iterator>
#include <ostream>

namespace qx::tool {
namespace {

std::string numberOrNothing(const std::optional<double>& value) {
    return value ? shortText(*value) : "";
}

Json jsonOf(const std::optional<double>& value) {
    return value ? numberToJson(*value) : Json(nullptr);
}

std::string titleOf(const Record& record) {
    const std::string check = record.check.empty() ? "" : " (" + record.check + ")";
    return record.subject.file + ": " + record.command + check;
}

std::string verdictsOf(const ComparedRecord& record) {
    const std::string verdict = toText(record.today.verdict);
    return record.today.verdict == record.reference.verdict
               ? verdict
               : verdict + ", in the reference " + toText(record.reference.verdict);
}

std::vector<std::string> cellsOf(const ComparedMeasure& measure) {
    const std::string name = measure.unit.empty() ? measure.name : measure.name + ", " + measure.unit;
    const std::optional<double> difference = measure.difference();
    if (!difference) {
        const auto text = [&](const auto& value) { return value ? formatNumber(*value, measure.decimals) : "-"; };
        return {text(measure.today), text(measure.reference), "-", "-", name};
    }
    const auto [today, reference] = textsCompared(*measure.today, *measure.reference, measure.decimals);
    const std::optional<double> percent = measure.percent();
    return {today, reference, textBeside(*difference, 0.0, measure.decimals),
            percent ? textBeside(*percent, 0.0, 1) : "-", name};
}

void printOnly(std::ostream& out, const char* where, const std::vector<Record>& records) {
    for (const Record& record : records)
        out << "Only " << where << ": " << printable(titleOf(record)) << ": " << toText(record.verdict) << '\n';
}

Json headOf(const Record& record) {
    return {{"command", record.command},
            {"check", record.check},
            {"file", record.subject.file},
            {"verdict", toText(record.verdict)}};
}

Json toJson(const ComparedRecord& record) {
    Json json = headOf(record.today);
    json["referenceVerdict"] = toText(record.reference.verdict);
    json["measures"] = Json::array();
    for (const ComparedMeasure& measure : record.measures) {
        json["measures"].push_back({{"name", measure.name},
                                    {"unit", measure.unit},
                                    {"today", jsonOf(measure.today)},
                                    {"reference", jsonOf(measure.reference)},
                                    {"difference", jsonOf(measure.difference())},
                                    {"percent", jsonOf(measure.percent())}});
    }
    return json;
}

Json headsOf(const std::vector<Record>& records) {
    Json json = Json::array();
    for (const Record& record : records)
        json.push_back(headOf(record));
    return json;
}

std::vector<std::string> csvHead(const Record& record, const std::string& verdict,
                                 const std::string& referenceVerdict) {
    return {record.command, record.check, record.subject.file, verdict, referenceVerdict};
}

void printCsv(std::ostream& out, std::vector<std::string> head, const ComparedMeasure& measure) {
    for (const std::string& cell :
         {measure.name, measure.unit, numberOrNothing(measure.today), numberOrNothing(measure.reference),
          numberOrNothing(measure.difference()), numberOrNothing(measure.percent())})
        head.push_back(cell);
    out << csvLine(head);
}

void printCsv(std::ostream& out, const ComparedRecord& record) {
    const auto head = csvHead(record.today, toText(record.today.verdict), toText(record.reference.verdict));
    for (const ComparedMeasure& measure : record.measures)
        printCsv(out, head, measure);
    if (record.measures.empty())
        printCsv(out, head, ComparedMeasure{});
}

}  // namespace

void printTable(std::ostream& out, const Comparison& comparison) {
    TextTable table({"today", "reference", "difference", "percent", "measure"});
    table.alignLeft({4});
    std::ptrdiff_t changed = 0;
    for (const ComparedRecord& record : comparison.records) {
        if (!record.isChanged())
            continue;
        ++changed;
        table.addTitle(titleOf(record.today) + ": " + verdictsOf(record));
        for (const ComparedMeasure& measure : record.measures) {
            if (measure.isChanged())
                table.addRow(cellsOf(measure));
        }
    }
    if (changed > 0)
        table.print(out);
    printOnly(out, "today", comparison.onlyToday);
    printOnly(out, "in the reference", comparison.onlyReference);
    out << (comparison.isChanged() ? "  " : "Nothing changed: ") << std::ssize(comparison.records) - changed << " of "
        << comparison.records.size() << " results that both have are the same.\n";
}

Json toJson(const Comparison& comparison) {
    const Json head = documentHead();
    Json json = {{"program", head.at("program")},
                 {"version", head.at("version")},
                 {"changed", comparison.isChanged()},
                 {"worse", comparison.isWorse()}};
    json["records"] = Json::array();
    for (const ComparedRecord& record : comparison.records)
        json["records"].push_back(toJson(record));
    json["onlyToday"] = headsOf(comparison.onlyToday);
    json["onlyReference"] = headsOf(comparison.onlyReference);
    return json;
}

void printCsv(std::ostream& out, const Comparison& comparison) {
    out << "command,check,file,verdict,referenceVerdict,measure,unit,today,reference,difference,percent\n";
    for (const ComparedRecord& record : comparison.records)
        printCsv(out, record);
    for (const Record& record : comparison.onlyToday)
        printCsv(out, csvHead(record, toText(record.verdict), ""), ComparedMeasure{});
    for (const Record& record : comparison.onlyReference)
        printCsv(out, csvHead(record, "", toText(record.verdict)), ComparedMeasure{});
}

}  // namespace qx::tool
