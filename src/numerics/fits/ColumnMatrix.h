#pragma once

#include <cstddef>

namespace qx {

// Rows of a tall matrix that are worked on together, so that they stay in the fastest memory and the additions of an
// ordered sum overlap with the next rows' updates.
inline constexpr int kRowsAtOnce = 256;

// A matrix in the caller's memory, column after column.
struct ColumnMatrix {
    float* data;
    int rows;
    int columns;

    float* column(int j) const noexcept { return data + std::ptrdiff_t{j} * rows; }
    float& at(int row, int j) const noexcept { return column(j)[row]; }
};

}  // namespace qx
