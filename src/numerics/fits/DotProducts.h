#pragma once

#include "numerics/fits/ColumnMatrix.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace qx {

// A sum in single precision depends on the order of its terms; so each of these sums keeps the order of the rows, and
// several are in flight at once.

template <std::size_t count>
void addProducts(const float* x, const float* const* columns, int firstRow, int endRow, float* sums) noexcept {
    std::array<float, count> running{};
    std::copy_n(sums, count, running.data());
    for (int k = firstRow; k < endRow; ++k)
        for (std::size_t j = 0; j < count; ++j)
            running[j] += x[k] * columns[j][k];
    std::copy_n(running.data(), count, sums);
}

// sums[j] += x . column j of the matrix over the rows from firstRow to before endRow, for firstColumn <= j < endColumn.
inline void addDotProducts(const float* x, ColumnMatrix matrix, int firstColumn, int endColumn, int firstRow,
                           int endRow, float* sums) noexcept {
    constexpr int kInFlight = 6;
    for (int j = firstColumn; j < endColumn; j += kInFlight) {
        std::array<const float*, kInFlight> columns{};
        const int count = std::min(kInFlight, endColumn - j);
        for (int c = 0; c < count; ++c)
            columns[c] = matrix.column(j + c);
        constexpr std::array kAdd = {addProducts<1>, addProducts<2>, addProducts<3>,
                                     addProducts<4>, addProducts<5>, addProducts<6>};
        kAdd[count - 1](x, columns.data(), firstRow, endRow, sums + j);
    }
}

// sums[j] = x . column j of the matrix from row firstRow on, for firstColumn <= j < endColumn.
inline void dotProducts(const float* x, ColumnMatrix matrix, int firstColumn, int endColumn, int firstRow,
                        float* sums) noexcept {
    std::fill(sums + firstColumn, sums + endColumn, 0.0f);
    addDotProducts(x, matrix, firstColumn, endColumn, firstRow, matrix.rows, sums);
}

}  // namespace qx
