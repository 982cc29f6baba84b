#pragma once

#include <algorithm>

namespace qx {

// Calls work(first column, columns) for panels of columns, side by side; or of whatever else there is a number of.
template <class Work>
void forPanels(int columns, int panelColumns, Work work) {
    for (int first = 0; first < columns; first += std::min(panelColumns, columns - first))
        work(first, std::min(panelColumns, columns - first));
}

}  // namespace qx
