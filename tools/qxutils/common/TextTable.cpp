#include "common/TextTable.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <sstream>

namespace qx::tool {

std::vector<std::size_t> TextTable::columnWidths() const {
    std::vector<std::size_t> widths;
    for (const auto& row : rows_) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], row[column].size());
    }
    return widths;
}

void TextTable::print(std::ostream& out) const {
    const std::vector<std::size_t> widths = columnWidths();
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            const std::string blanks(widths[column] - row[column].size(), ' ');
            line += leftColumns_.contains(column) ? "  " + row[column] + blanks : "  " + blanks + row[column];
        }
        out << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    }
}

std::string formatNumber(double value, int decimals) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

}  // namespace qx::tool
