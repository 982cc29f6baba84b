#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Scratch.h"
#include "numerics/statistics/ExchangeSelection.h"
#include "numerics/statistics/PixelMedian.h"

#include <algorithm>
#include <span>
#include <utility>

namespace {

using qx::SortOrder;

// Element n/2 of a sorted copy.
// Kept: the lower middle in descending order, the upper one in ascending order, for an even count; and a status is
// handed back as a number.
template <SortOrder order, class T>
T middleOfCopy(const T* data, int n) {
    if (data == nullptr || n < 1)
        return StatusNullArgument;
    qx::Scratch<T> copy(n);
    if (!copy)
        return StatusAllocationFailed;
    return qx::exchangeMiddle<order>(data, n, copy.data());
}

// One round of the selection: orders three elements around l, then splits l+2 .. r at the value of l+1. Returns where
// the two indices have crossed.
struct Split {
    int left;
    int right;
};

Split splitAtPivot(float* data, int l, int r) noexcept {
    const int mid = l + (r - l) / 2;
    if (data[mid] > data[l + 1])
        std::swap(data[mid], data[l + 1]);
    if (data[l] > data[r])
        std::swap(data[l], data[r]);
    if (data[l + 1] > data[r])
        std::swap(data[l + 1], data[r]);
    if (data[l] > data[l + 1])
        std::swap(data[l], data[l + 1]);
    const float pivot = data[l + 1];
    int i = l + 1;
    int j = r;
    for (;;) {
        do
            ++i;
        while (data[i] < pivot);
        do
            --j;
        while (data[j] > pivot);
        if (j < i)
            break;
        if (data[i] > data[j])
            std::swap(data[i], data[j]);
    }
    data[l + 1] = data[j];
    data[j] = pivot;
    return {i, j};
}

}  // namespace

int getMedian(const int* data, int n) {
    if (data == nullptr || n < 1)
        return StatusNullArgument;
    qx::Scratch<int> copy(n);
    if (!copy)
        return StatusAllocationFailed;
    std::copy_n(data, n, copy.data());
    return qx::lowerMiddleInPlace(copy.span());
}

float getMedian(const float* data, int n) {
    return middleOfCopy<SortOrder::Descending>(data, n);
}

double getfloatMedian(const double* data, int n) {
    return middleOfCopy<SortOrder::Descending>(data, n);
}

WORD getMedian(const WORD* data, int n) {
    if (data == nullptr || n < 1)
        return StatusNullArgument;
    return qx::lowerMiddle(std::span(data, n));
}

WORD getWordMedian(const WORD* data, int n) {
    return getMedian(data, n);
}

float getFloatMedian(const float* data, int n) {
    return middleOfCopy<SortOrder::Ascending>(data, n);
}

float getFloatMedian(float* data, int n) {
    if (data == nullptr || n < 1)
        return StatusNullArgument;
    // Kept: this member sorts the caller's array, the one for constant arrays a copy.
    qx::exchangeSortFast<SortOrder::Ascending>(data, n);
    return data[n / 2];
}

float getFloatMedianByQuickMethod(float* data, int n) {
    if (data == nullptr || n < 1)
        return StatusNullArgument;
    const int k = n / 2;
    int l = 0;
    int r = n - 1;
    while (r > l + 1) {
        const Split split = splitAtPivot(data, l, r);
        if (split.right >= k)
            r = split.right - 1;
        if (split.right <= k)
            l = split.left;
    }
    if (r == l + 1 && data[l] > data[r])
        std::swap(data[l], data[r]);
    return data[k];
}
