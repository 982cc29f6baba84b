#include "checks/CheckTable.h"

#include "results/RecordText.h"
#include "text/ComparedNumbers.h"
#include "text/TextTable.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <map>
#include <ostream>

namespace qx::tool {
namespace {

// Some messages are instructions of several lines' length.
std::string firstSentence(const std::string& message) {
    const std::size_t stop = message.find('.');
    return stop == std::string::npos ? message : message.substr(0, stop + 1);
}

// How a value stands to its limit, whether it ought to or not.
const char* relationOf(const Limit& limit) {
    switch (limit.comparison) {
    case MeasureBelow:
        return limit.met ? "<" : ">=";
    case MeasureAtMost:
        return limit.met ? "<=" : ">";
    case MeasureAbove:
        return limit.met ? ">" : "<=";
    default:
        return limit.met ? ">=" : "<";
    }
}

std::vector<std::string> cellsOf(const CheckRow& row, std::size_t index) {
    const Record& record = row.result;
    const Measure& measure = record.measures[index];
    const Limit& limit = measure.limit.value();
    const bool isFirst = index == 0;
    const bool decided = index + 1 == record.measures.size();
    return {isFirst ? record.check : "",
            quantityOf(record, index),
            std::isnan(measure.value) ? "-" : valueText(measure),
            std::string(relationOf(limit)) + ' ' + shortText(limit.value),
            decided ? std::to_string(record.code.value_or(0)) : "",
            decided ? firstSentence(record.message) : ""};
}

// One image: the verdict with its message.
void printOfOne(std::ostream& out, const std::vector<CheckRow>& rows) {
    TextTable table({"check", "what is measured", "value", "limit", "verdict", "message"});
    constexpr std::size_t kLimit = 3;
    table.alignLeft({1, kLimit, 5});
    table.keepWhole({kLimit});
    for (const CheckRow& row : rows) {
        for (std::size_t index = 0; index < row.result.measures.size(); ++index) {
            const std::vector<std::string> cells = cellsOf(row, index);
            const TextColour colour = colourOf(row.result.verdict);
            table.addRow(cells, {{4, colour}, {5, colour}});
        }
    }
    table.print(out);
}

// Several: each below its name, and the messages below the table.
void printOfMany(std::ostream& out, const std::vector<CheckRow>& rows) {
    TextTable table({"check", "what is measured", "value", "limit", "verdict"});
    constexpr std::size_t kLimit = 3;
    constexpr std::size_t kVerdict = 4;
    table.alignLeft({1, kLimit});
    table.keepWhole({kLimit});
    for (const CheckRow& row : rows) {
        if (!row.image.empty())
            table.addTitle(row.image);
        for (std::size_t index = 0; index < row.result.measures.size(); ++index) {
            const std::vector<std::string> cells = cellsOf(row, index);
            table.addRow({cells.begin(), cells.end() - 1}, {{kVerdict, colourOf(row.result.verdict)}});
        }
    }
    table.print(out);
}

}  // namespace

void printChecks(std::ostream& out, const std::vector<CheckRow>& rows) {
    const bool isOne = std::ranges::all_of(rows, &std::string::empty, &CheckRow::image);
    if (isOne)
        printOfOne(out, rows);
    else
        printOfMany(out, rows);
    std::map<int, std::string> messages;
    for (const auto& [image, result] : rows) {
        if (isOne ? firstSentence(result.message) != result.message : result.verdict != Verdict::Passed)
            messages.emplace(result.code.value_or(0), result.message);
    }
    for (const auto& [status, message] : messages)
        out << "  " << status << "  " << message << '\n';
}

void printCheckRecords(std::ostream& out, const std::vector<Record>& records) {
    const auto fileOf = [](const Record& record) { return record.subject.file; };
    const bool several = std::ranges::adjacent_find(records, std::ranges::not_equal_to{}, fileOf) != records.end();
    std::vector<CheckRow> rows;
    const std::string* file = nullptr;
    for (const Record& record : records) {
        if (record.verdict == Verdict::Failed)
            continue;
        const bool isNew = several && (file == nullptr || *file != record.subject.file);
        rows.push_back({isNew ? record.subject.file : "", record});
        file = &record.subject.file;
    }
    if (!rows.empty())
        printChecks(out, rows);
}

}  // namespace qx::tool
