#include "text/TextTable.h"

#include "text/FileName.h"
#include "text/TextStream.h"
#include "text/TextWidth.h"

#include <algorithm>
#include <iomanip>
#include <numeric>
#include <ostream>

namespace qx::tool {
namespace {

constexpr std::string_view kGap = "  ";
// A column as narrow as this is not made narrower while another one can be.
constexpr std::size_t kReadableWidth = 20;
// Words of a column as narrow as this are not cut.
constexpr std::size_t kLeastWidth = 12;

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
        row.push_back({printable(text)});
    for (const auto& [column, colour] : cellColours)
        row.at(column).colour = colour;
}

void TextTable::addTitle(const std::string& title) {
    titles_.emplace(rows_.size(), printable(title));
}

TextTable::Widths TextTable::wholeWidths() const {
    Widths widths;
    for (const Row& row : rows_) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], textWidth(row[column].text));
    }
    return widths;
}

TextTable::Widths TextTable::wordWidths() const {
    Widths widths(wholeWidths().size());
    for (const Row& row : rows_) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            const bool isWrapped = isText(column) || &row == &rows_.front();
            const std::string& text = row[column].text;
            widths[column] = std::max(widths[column], isWrapped ? widestWord(text) : textWidth(text));
        }
    }
    return widths;
}

TextTable::Widths TextTable::widthsWithin(std::size_t width) const {
    const Widths whole = wholeWidths();
    const Widths words = wordWidths();
    Widths readable = whole;
    Widths headings = words;
    Widths cut = words;
    for (std::size_t column = 0; column < whole.size(); ++column) {
        if (isText(column)) {
            readable[column] = headings[column] = std::max(words[column], std::min(whole[column], kReadableWidth));
            cut[column] = std::min(words[column], kLeastWidth);
        }
    }
    Widths widths = whole;
    for (const Widths& least : {readable, headings, words, cut})
        shrink(widths, least, width);
    return widths;
}

// The lines of a heading end just above the rows.
std::vector<TextTable::Lines> TextTable::linesOf(const Row& row, const Widths& widths) const {
    std::vector<Lines> cells;
    std::size_t height = 1;
    for (std::size_t column = 0; column < row.size(); ++column) {
        cells.push_back(wrapText(row[column].text, widths[column]));
        height = std::max(height, cells.back().size());
    }
    for (Lines& lines : cells)
        lines.insert(&row == &rows_.front() ? lines.begin() : lines.end(), height - lines.size(), "");
    return cells;
}

void TextTable::printRow(std::ostream& out, const Row& row, const std::vector<Lines>& cells,
                         const Widths& widths) const {
    for (std::size_t line = 0; line < cells.front().size(); ++line) {
        std::string text(titles_.empty() ? "" : kGap);
        for (std::size_t column = 0; column < row.size(); ++column) {
            const std::string& part = cells[column][line];
            const std::string blanks(widths[column] - textWidth(part), ' ');
            const std::string shown = coloured(part, row[column].colour);
            text.append(kGap).append(leftColumns_.contains(column) ? shown + blanks : blanks + shown);
        }
        out << text.substr(0, text.find_last_not_of(' ') + 1) << '\n';
    }
}

void TextTable::printTitles(std::ostream& out, std::size_t row) const {
    const auto [first, end] = titles_.equal_range(row);
    std::for_each(first, end, [&out](const auto& title) { out << kGap << title.second << '\n'; });
}

void TextTable::print(std::ostream& out, int width) const {
    const int indent = titles_.empty() ? 0 : static_cast<int>(kGap.size());
    const Widths allowed = widthsWithin(static_cast<std::size_t>(std::max(width - indent, 1)));
    Widths used(allowed.size());
    std::vector<std::vector<Lines>> rows;
    for (const Row& row : rows_) {
        rows.push_back(linesOf(row, allowed));
        for (std::size_t column = 0; column < row.size(); ++column) {
            for (const std::string& line : rows.back()[column])
                used[column] = std::max(used[column], textWidth(line));
        }
    }
    for (std::size_t row = 0; row < rows.size(); ++row) {
        printTitles(out, row);
        printRow(out, rows_[row], rows[row], used);
    }
    printTitles(out, rows.size());
}

std::string formatNumber(double value, int decimals) {
    TextStream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

}  // namespace qx::tool
