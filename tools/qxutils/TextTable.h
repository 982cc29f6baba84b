#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace qx::tool {

// Columns as wide as their widest cell: the first one to the left, the others to the right.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> header) { addRow(std::move(header)); }

    void addRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    void print(std::ostream& out) const;

private:
    std::vector<std::size_t> columnWidths() const;

    std::vector<std::vector<std::string>> rows_;
};

// A number with a fixed count of decimals.
std::string formatNumber(double value, int decimals);

}  // namespace qx::tool
