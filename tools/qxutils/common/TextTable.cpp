#include "common/TextTable.h"

#include "common/TextWidth.h"

#include <algorithm>
#include <functional>
#include <iomanip>
#include <numeric>
#include <ostream>
#include <sstream>

namespace qx::tool {
namespace {

constexpr std::string_view kGap = "  ";
// Words of a column narrower than this are not cut.
constexpr std::size_t kLeastCutWidth = 12;

using Widths = std::vector<std::size_t>;

std::size_t totalOf(const Widths& widths) {
    return std::accumulate(widths.begin(), widths.end(), widths.size() * kGap.size());
}

// Takes from the widest column, as long as one is wider than it must be, until all of them are within width.
void shrink(Widths& widths, const Widths& least, std::size_t width) {
    while (totalOf(widths) > width) {
        std::size_t widest = widths.size();
        for (std::size_t column = 0; column < widths.size(); ++column) {
            if (widths[column] > least[column] && (widest == widths.size() || widths[column] > widths[widest]))
                widest = column;
        }
        if (widest == widths.size())
            return;
        --widths[widest];
    }
}

}  // namespace

void TextTable::addRow(const std::vector<std::string>& cells, const std::map<std::size_t, TextColour>& cellColours) {
    Row& row = rows_.emplace_back();
    for (const std::string& text : cells)
        row.push_back({text});
    for (const auto& [column, colour] : cellColours)
        row.at(column).colour = colour;
}

template <class Measure>
TextTable::Widths TextTable::widest(Measure measure) const {
    Widths widths;
    for (const Row& row : rows_) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], measure(row[column].text));
    }
    return widths;
}

TextTable::Widths TextTable::widthsWithin(std::size_t width) const {
    Widths widths = widest(textWidth);
    const Widths words = widest(widestWord);
    Widths leftWords = widths;
    Widths cutWords = words;
    for (const std::size_t column : leftColumns_) {
        if (column < widths.size()) {
            leftWords[column] = words[column];
            cutWords[column] = std::min(words[column], kLeastCutWidth);
        }
    }
    for (const Widths& least : {leftWords, words, cutWords})
        shrink(widths, least, width);
    return widths;
}

std::string TextTable::cellText(const Cell& cell, const std::string& line, std::size_t column,
                                std::size_t width) const {
    const std::string blanks(width - textWidth(line), ' ');
    const std::string text = coloured(line, cell.colour);
    return leftColumns_.contains(column) ? text + blanks : blanks + text;
}

void TextTable::printRow(std::ostream& out, const Row& row, const Widths& widths) const {
    std::vector<std::vector<std::string>> cells;
    std::size_t lines = 1;
    for (std::size_t column = 0; column < row.size(); ++column) {
        cells.push_back(wrapText(row[column].text, widths[column]));
        lines = std::max(lines, cells.back().size());
    }
    for (std::size_t line = 0; line < lines; ++line) {
        std::string text;
        for (std::size_t column = 0; column < row.size(); ++column) {
            const std::string part = line < cells[column].size() ? cells[column][line] : "";
            text.append(kGap).append(cellText(row[column], part, column, widths[column]));
        }
        out << text.substr(0, text.find_last_not_of(' ') + 1) << '\n';
    }
}

void TextTable::print(std::ostream& out, int width) const {
    const Widths widths = widthsWithin(static_cast<std::size_t>(std::max(width, 1)));
    for (const Row& row : rows_)
        printRow(out, row, widths);
}

std::string formatNumber(double value, int decimals) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

}  // namespace qx::tool
