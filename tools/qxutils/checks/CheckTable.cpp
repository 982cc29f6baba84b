#include "checks/CheckTable.h"

#include "common/ComparedNumbers.h"
#include "common/TextTable.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <map>
#include <ostream>
#include <set>

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

// The unit follows unless the name begins with it, as in "blocks in a shadow".
std::string quantityOf(const Measure& measure, bool isAlternative) {
    const bool tellsUnit = measure.unit.empty() || measure.name.starts_with(measure.unit);
    return (isAlternative ? "or " : "") + measure.name + (tellsUnit ? "" : ", " + measure.unit);
}

std::vector<std::string> cellsOf(const CheckRow& row, std::size_t index) {
    const Record& record = row.result;
    const Measure& measure = record.measures[index];
    const Limit& limit = measure.limit.value();
    const bool isFirst = index == 0;
    const bool decided = index + 1 == record.measures.size();
    const bool isAlternative = !isFirst && limit.requirement == record.measures[index - 1].limit->requirement;
    return {isFirst ? row.image : "",
            isFirst ? record.check : "",
            quantityOf(measure, isAlternative),
            std::isnan(measure.value) ? "-" : textBeside(measure.value, limit.value, measure.decimals),
            std::string(relationOf(limit)) + ' ' + shortText(limit.value),
            decided ? std::to_string(record.code.value_or(0)) : "",
            decided ? firstSentence(record.message) : ""};
}

// The verdict and what it means, where they stand.
std::map<std::size_t, TextColour> coloursOf(const Record& record, std::size_t index, std::size_t verdictColumn) {
    if (index + 1 != record.measures.size())
        return {};
    const TextColour colour = record.verdict == Verdict::Passed ? TextColour::Green : TextColour::Red;
    return {{verdictColumn, colour}, {verdictColumn + 1, colour}};
}

TextTable makeTable(const std::vector<CheckRow>& rows, bool named) {
    const std::ptrdiff_t skipped = named ? 0 : 1;
    const auto used = [skipped](const std::vector<std::string>& cells) {
        return std::vector<std::string>(cells.begin() + skipped, cells.end());
    };
    TextTable table(used({"image", "check", "what is measured", "value", "limit", "verdict", "message"}));
    table.alignLeft(named ? std::set<std::size_t>{1, 2, 4, 6} : std::set<std::size_t>{1, 3, 5});
    const std::size_t verdictColumn = used({"image", "check", "what", "value", "limit"}).size();
    for (const CheckRow& row : rows) {
        for (std::size_t index = 0; index < row.result.measures.size(); ++index)
            table.addRow(used(cellsOf(row, index)), coloursOf(row.result, index, verdictColumn));
    }
    return table;
}

}  // namespace

void printChecks(std::ostream& out, const std::vector<CheckRow>& rows) {
    const bool named = std::any_of(rows.begin(), rows.end(), [](const CheckRow& row) { return !row.image.empty(); });
    makeTable(rows, named).print(out);
    std::map<int, std::string> shortened;
    for (const auto& [image, result] : rows) {
        if (firstSentence(result.message) != result.message)
            shortened.emplace(result.code.value_or(0), result.message);
    }
    for (const auto& [status, meaning] : shortened)
        out << "  " << status << "  " << meaning << '\n';
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
