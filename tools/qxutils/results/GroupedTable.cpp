#include "results/GroupedTable.h"

#include "common/TextTable.h"

#include <limits>
#include <ostream>
#include <sstream>

namespace qx::tool {
namespace {

// The first column of a text table stands to the left, so it stays empty.
std::vector<std::string> indented(const std::vector<std::string>& cells) {
    std::vector<std::string> row = {""};
    row.insert(row.end(), cells.begin(), cells.end());
    return row;
}

}  // namespace

void GroupedTable::print(std::ostream& out) const {
    TextTable table(indented(rows_.front()));
    table.alignLeft({leftColumn_ + 1});
    for (std::size_t row = 1; row < rows_.size(); ++row)
        table.addRow(indented(rows_[row]));
    std::ostringstream text;
    table.print(text, std::numeric_limits<int>::max());
    std::istringstream lines(text.str());
    std::size_t row = 0;
    const auto copyRowsBefore = [&](std::size_t end) {
        for (std::string line; row < end && std::getline(lines, line); ++row)
            out << line << '\n';
    };
    for (const Title& title : titles_) {
        copyRowsBefore(title.row);
        out << title.text << '\n';
    }
    copyRowsBefore(rows_.size());
}

}  // namespace qx::tool
