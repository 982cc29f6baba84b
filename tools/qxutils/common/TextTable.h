#pragma once

#include <cstddef>
#include <iosfwd>
#include <set>
#include <string>
#include <utility>
#include <vector>

// How results are printed.

namespace qx::tool {

// Columns as wide as their widest cell: the first one to the left, the others to the right unless told otherwise.
class TextTable {
public:
    explicit TextTable(std::vector<std::string> header) { addRow(std::move(header)); }

    void addRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    void alignLeft(const std::set<std::size_t>& columns) { leftColumns_.insert(columns.begin(), columns.end()); }
    void print(std::ostream& out) const;

private:
    std::vector<std::size_t> columnWidths() const;

    std::vector<std::vector<std::string>> rows_;
    std::set<std::size_t> leftColumns_ = {0};
};

// A number with a fixed count of decimals.
std::string formatNumber(double value, int decimals);

}  // namespace qx::tool
