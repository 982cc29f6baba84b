#include "defects/DefectTables.h"

#include "text/TextTable.h"

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <string>

namespace qx::tool {
namespace {

std::string textOf(int line) {
    return std::to_string(line);
}

std::string textOf(const Point& point) {
    return "(" + std::to_string(point.x) + ", " + std::to_string(point.y) + ")";
}

std::string textOf(const std::vector<Point>& cluster) {
    return cluster.empty() ? "()" : std::to_string(cluster.size()) + " at " + textOf(cluster.front());
}

template <class Entry>
std::string firstOf(const std::vector<Entry>& list) {
    constexpr std::size_t kShown = 10;
    std::string text;
    for (std::size_t i = 0; i < std::min(kShown, list.size()); ++i)
        text += (i == 0 ? "" : ", ") + textOf(list[i]);
    return list.size() > kShown ? text + " ... and " + std::to_string(list.size() - kShown) + " more" : text;
}

}  // namespace

Record defectCountsOf(const DefectLists& lists) {
    const auto countOf = [](const auto& list) { return static_cast<double>(list.size()); };
    Record record;
    record.measures = {{"points", countOf(lists.points), "pixels"},
                       {"rows", countOf(lists.rows), "rows"},
                       {"columns", countOf(lists.columns), "columns"},
                       {"clusters", countOf(lists.clusters), "clusters"}};
    return record;
}

void printDefectCounts(std::ostream& out, const DefectLists& lists) {
    TextTable table({"defects", "points", "rows", "columns", "clusters"});
    table.addRow({"", std::to_string(lists.points.size()), std::to_string(lists.rows.size()),
                  std::to_string(lists.columns.size()), std::to_string(lists.clusters.size())});
    table.print(out);
}

void printDefectLists(std::ostream& out, const DefectLists& lists) {
    TextTable table({"defects", "count", "first ones, pixels"});
    table.alignLeft({2});
    table.addRow({"points", std::to_string(lists.points.size()), firstOf(lists.points)});
    table.addRow({"rows", std::to_string(lists.rows.size()), firstOf(lists.rows)});
    table.addRow({"columns", std::to_string(lists.columns.size()), firstOf(lists.columns)});
    table.addRow({"clusters", std::to_string(lists.clusters.size()), firstOf(lists.clusters)});
    table.print(out);
}

}  // namespace qx::tool
