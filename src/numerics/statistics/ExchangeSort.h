#pragma once

#include <utility>

namespace qx {

enum class SortOrder { Ascending, Descending };

// Whether an element belongs before another one. False both ways for equal elements, zeros of either sign among
// them, and whenever one is not a number.
template <SortOrder order, class T>
bool comesBefore(T a, T b) noexcept {
    return order == SortOrder::Ascending ? a < b : a > b;
}

// The exchange sort that defines every median of the library: quadratic, and not stable.
template <SortOrder order, class T>
void exchangeSort(T* data, int n) noexcept {
    for (int i = 1; i < n; ++i)
        for (int j = 0; j < i; ++j)
            if (comesBefore<order>(data[i], data[j]))
                std::swap(data[i], data[j]);
}

}  // namespace qx
