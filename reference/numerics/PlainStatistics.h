#pragma once

#include <QxUtils/Types.h>

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

// The statistics written out step by step, without any shortcut: what the library's fast methods are compared with,
// and the plain method of the benchmarks. The names are the library's. Counts and pointers are valid here unless a
// function says otherwise.
namespace qx::plain {

// x86 truncation of a number to a 32-bit integer: INT_MIN for NaN and for what does not fit.
std::int32_t truncateToInt(double value) noexcept;

// The quadratic exchange sort; isBefore is the order. Comparisons with NaN are false, so a NaN never moves.
template <class T, class Order>
void exchangeSort(T* data, int n, Order isBefore) {
    for (int i = 1; i < n; ++i) {
        for (int j = 0; j < i; ++j) {
            if (isBefore(data[i], data[j]))
                std::swap(data[i], data[j]);
        }
    }
}

// Element n/2 of a copy in descending order: getMedian, getWordMedian and getfloatMedian.
template <class T>
T descendingMedian(const T* data, int n) {
    if (data == nullptr || n < 1)
        return static_cast<T>(1057);
    std::vector<T> copy(data, data + n);
    exchangeSort(copy.data(), n, std::greater<>());
    return copy[n / 2];
}

// Element n/2 in ascending order; sorts the caller's array. getFloatMedian(float*).
float ascendingMedianInPlace(float* data, int n);

// The same on a copy. getFloatMedian(const float*).
float ascendingMedian(const float* data, int n);

// Median of three selection, partially reordering the array. n is at least 1.
float getFloatMedianByQuickMethod(float* data, int n);

WORD getHisMedian(const WORD* data, int n, int* hist, int bins);
float getFloatHisMedian(const float* data, int n);

float getStdev(const WORD* image, int width, int height);
float getStdev(const int* image, int width, int height);
float getStdev(const float* image, int width, int height);
void getStdevAndMean(const int* image, int width, int height, float& mean, float& stdev);
double getMean(const WORD* data, int n);

// The last smallest value up to 10000 or the last largest one from 0 on, the 16 outermost values left out.
template <class T>
int getMaxandMinIndex(const T* data, int n, bool wantMin) {
    T extremum = wantMin ? 10000 : 0;
    int index = 0;
    for (int i = 16; i <= n - 17; ++i) {
        if (wantMin ? extremum >= data[i] : data[i] >= extremum) {
            extremum = data[i];
            index = i;
        }
    }
    return index;
}

// First smallest and last largest element. n is at least 1.
template <class T>
int getMinIndex(const T* data, int n) {
    int index = 0;
    for (int i = 1; i < n; ++i) {
        if (data[i] < data[index])
            index = i;
    }
    return index;
}

template <class T>
int getMaxIndex(const T* data, int n) {
    int index = 0;
    for (int i = 1; i < n; ++i) {
        if (data[i] >= data[index])
            index = i;
    }
    return index;
}

int findidxbigger(const float* data, int n, float threshold);
int findidxsmaller(const float* data, int n, float threshold);

// Rows and columns are inclusive; the region holds at least one pixel.
int getROIMedian(const WORD* image, int rowStart, int rowEnd, int colStart, int colEnd, int width);
int getROIMedian(const float* image, int rowStart, int rowEnd, int colStart, int colEnd, int width);
int getROIMean(const WORD* image, int rowStart, int rowEnd, int colStart, int colEnd, int width);

int getHistogramByBins(int* counts, int* centers, int bins, const WORD* data, int n);

// The polar method with its one cached deviate, drawing from the runtime's rand().
class GaussSource {
public:
    double next(double sigma, double mean);

private:
    bool cached_ = false;
    double v_ = 0;
    double s_ = 0;
};

}  // namespace qx::plain
