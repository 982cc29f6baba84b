#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

namespace qx::tool {

// Numbers in columns, with lines of text of any length between the rows to say what they are.
class GroupedTable {
public:
    explicit GroupedTable(std::vector<std::string> header) { addRow(std::move(header)); }

    void addTitle(const std::string& title) { titles_.push_back({rows_.size(), title}); }
    void addRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

    // A column that stands to the left; the others stand to the right.
    void alignLeft(std::size_t column) { leftColumn_ = column; }
    void print(std::ostream& out) const;

private:
    struct Title {
        std::size_t row;  // that it stands above
        std::string text;
    };

    std::vector<std::vector<std::string>> rows_;
    std::vector<Title> titles_;
    std::size_t leftColumn_ = static_cast<std::size_t>(-2);
};

}  // namespace qx::tool
