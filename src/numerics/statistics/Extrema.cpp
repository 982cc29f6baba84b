#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"

// Kept: a null pointer's status is handed back as an index.

namespace {

// Kept: so many elements at each end are not looked at by getMaxandMinIndex.
constexpr int kBorder = 16;

template <class T>
int innerExtremeIndex(const T* data, int n, bool wantMin) {
    if (data == nullptr)
        return StatusNullArgument;
    // Kept: the search starts from these values, so larger minima and negative maxima are never found.
    T minimum = T{10000};
    T maximum = T{0};
    int minimumIndex = 0;
    int maximumIndex = 0;
    for (int i = kBorder; i + kBorder < n; ++i) {
        if (minimum >= data[i]) {
            minimum = data[i];
            minimumIndex = i;
        }
        if (data[i] >= maximum) {
            maximum = data[i];
            maximumIndex = i;
        }
    }
    return wantMin ? minimumIndex : maximumIndex;
}

// Kept: the first one on ties here, the last one among maxima.
template <class T>
int firstMinimumIndex(const T* data, int n) {
    if (data == nullptr)
        return StatusNullArgument;
    int index = 0;
    for (int i = 1; i < n; ++i)
        if (data[i] < data[index])
            index = i;
    return index;
}

template <class T>
int lastMaximumIndex(const T* data, int n) {
    if (data == nullptr)
        return StatusNullArgument;
    int index = 0;
    for (int i = 1; i < n; ++i)
        if (data[i] >= data[index])
            index = i;
    return index;
}

}  // namespace

int getMaxandMinIndex(const double* data, int n, bool wantMin) {
    return innerExtremeIndex(data, n, wantMin);
}

int getMaxandMinIndex(const float* data, int n, bool wantMin) {
    return innerExtremeIndex(data, n, wantMin);
}

int getMinIndex(const WORD* data, int n) {
    return firstMinimumIndex(data, n);
}

int getMinIndex(const int* data, int n) {
    return firstMinimumIndex(data, n);
}

int getMinIndex(const float* data, int n) {
    return firstMinimumIndex(data, n);
}

int getMaxIndex(const int* data, int n) {
    return lastMaximumIndex(data, n);
}

int getMaxIndex(const float* data, int n) {
    return lastMaximumIndex(data, n);
}

int findidxbigger(const float* data, int n, float threshold) {
    if (data == nullptr)
        return StatusNullArgument;
    for (int i = 0; i < n; ++i)
        if (data[i] >= threshold)
            return i;
    return -1;
}

int findidxsmaller(const float* data, int n, float threshold) {
    if (data == nullptr)
        return StatusNullArgument;
    for (int i = n; i > 0; --i)
        if (data[i - 1] <= threshold)
            return i - 1;
    // Kept: none gives n here and -1 in findidxbigger.
    return n;
}
