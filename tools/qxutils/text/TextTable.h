#pragma once

#include "text/Terminal.h"

#include <cstddef>
#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <vector>

// How results are printed.

namespace qx::tool {

// Columns as wide as their widest cell: the first one to the left, the others to the right unless told otherwise. A
// table too wide for its place continues the texts of its widest columns to the left on further lines, then its
// headings.
class TextTable {
public:
    explicit TextTable(const std::vector<std::string>& header) { addRow(header); }

    // A row, whose cells are shown as printable() has them, and the colours of some of them by their column.
    void addRow(const std::vector<std::string>& cells, const std::map<std::size_t, TextColour>& cellColours = {});
    // A line of any length, printable too, that stands before the rows to come, which are indented then.
    void addTitle(const std::string& title);
    void alignLeft(const std::set<std::size_t>& columns) { leftColumns_.insert(columns.begin(), columns.end()); }
    // Columns whose cells are never broken at blanks, such as "< 0.15".
    void keepWhole(const std::set<std::size_t>& columns) { wholeColumns_.insert(columns.begin(), columns.end()); }
    void print(std::ostream& out, int width = terminalWidth()) const;

private:
    struct Cell {
        std::string text;
        TextColour colour = TextColour::Plain;
    };
    using Row = std::vector<Cell>;
    using Widths = std::vector<std::size_t>;

    using Lines = std::vector<std::string>;

    bool isText(std::size_t column) const { return leftColumns_.contains(column) && !wholeColumns_.contains(column); }
    Widths wholeWidths() const;
    Widths wordWidths() const;  // with every text, but nothing that stays whole, broken at its blanks
    Widths widthsWithin(std::size_t width) const;
    std::vector<Lines> linesOf(const Row& row, const Widths& widths) const;
    void printRow(std::ostream& out, const Row& row, const std::vector<Lines>& cells, const Widths& widths) const;

    void printTitles(std::ostream& out, std::size_t row) const;

    std::vector<Row> rows_;
    std::multimap<std::size_t, std::string> titles_;  // by the row that each stands before
    std::set<std::size_t> leftColumns_ = {0};
    std::set<std::size_t> wholeColumns_;
};

// A number with a fixed count of decimals.
std::string formatNumber(double value, int decimals);

}  // namespace qx::tool
