#include "checks/CheckTable.h"

#include "common/TextTable.h"

#include <QxUtils/StatusCode.h>

#include <algorithm>
#include <cstddef>
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

std::vector<std::string> cellsOf(const CheckRow& row, std::size_t index) {
    const auto& [check, status, meaning, findings] = row.result;
    const auto& [quantity, value, limit] = findings[index];
    const bool isFirst = index == 0;
    const bool decided = index + 1 == findings.size();
    return {isFirst ? row.image : "",
            isFirst ? check : "",
            quantity,
            value,
            limit,
            decided ? std::to_string(status) : "",
            decided ? firstSentence(meaning) : ""};
}

TextTable makeTable(const std::vector<CheckRow>& rows, bool named) {
    const std::ptrdiff_t skipped = named ? 0 : 1;
    const auto used = [skipped](const std::vector<std::string>& cells) {
        return std::vector<std::string>(cells.begin() + skipped, cells.end());
    };
    TextTable table(used({"image", "check", "what is measured", "value", "limit", "verdict", "message"}));
    table.alignLeft(named ? std::set<std::size_t>{1, 2, 4, 6} : std::set<std::size_t>{1, 3, 5});
    for (const CheckRow& row : rows) {
        for (std::size_t index = 0; index < row.result.findings.size(); ++index)
            table.addRow(used(cellsOf(row, index)));
    }
    return table;
}

}  // namespace

void printChecks(std::ostream& out, const std::vector<CheckRow>& rows) {
    const bool named = std::any_of(rows.begin(), rows.end(), [](const CheckRow& row) { return !row.image.empty(); });
    makeTable(rows, named).print(out);
    std::map<int, std::string> shortened;
    for (const auto& [image, result] : rows) {
        if (firstSentence(result.meaning) != result.meaning)
            shortened.emplace(result.status, result.meaning);
    }
    for (const auto& [status, meaning] : shortened)
        out << "  " << status << "  " << meaning << '\n';
}

}  // namespace qx::tool
