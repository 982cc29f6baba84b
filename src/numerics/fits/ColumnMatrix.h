#pragma once

#include <cstddef>

namespace qx {

// A matrix in the caller's memory, column after column.
struct ColumnMatrix {
    float* data;
    int rows;
    int columns;

    float* column(int j) const noexcept { return data + static_cast<std::ptrdiff_t>(j) * rows; }
    float& at(int row, int j) const noexcept { return column(j)[row]; }
};

}  // namespace qx
