#include "harness/Row.h"

namespace qx::bench {

namespace {

// Rows register before main, from several files: the list must exist whichever comes first.
std::vector<RowEntry>& rowList() {
    static std::vector<RowEntry> rows;
    return rows;
}

}  // namespace

RegisteredRow::RegisteredRow(std::string work, std::function<Row(const Scale&)> prepare) {
    rowList().push_back({std::move(work), std::move(prepare)});
}

const std::vector<RowEntry>& registeredRows() {
    return rowList();
}

}  // namespace qx::bench
