#include "TextTable.h"

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
        for (std::size_t column = 0; column < row.size(); ++column) {
            out << "  " << (column == 0 ? std::left : std::right) << std::setw(static_cast<int>(widths[column]))
                << row[column];
        }
        out << '\n';
    }
}

std::string formatNumber(double value, int decimals) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

}  // namespace qx::tool
