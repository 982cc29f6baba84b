#include "reference/numerics/PlainStatistics.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

namespace qx::plain {

std::int32_t truncateToInt(double value) noexcept {
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(value);
}

float ascendingMedianInPlace(float* data, int n) {
    if (data == nullptr || n < 1)
        return 1057.0f;
    exchangeSort(data, n, std::less<>());
    return data[n / 2];
}

float ascendingMedian(const float* data, int n) {
    if (data == nullptr || n < 1)
        return 1057.0f;
    std::vector<float> copy(data, data + n);
    return ascendingMedianInPlace(copy.data(), n);
}

namespace {

void swapIfGreater(float& first, float& second) {
    if (first > second)
        std::swap(first, second);
}

// Partitions l+2 .. r-1 around element l+1 and returns the two indices where they crossed.
std::pair<int, int> partitionAroundPivot(float* data, int l, int r) {
    const float pivot = data[l + 1];
    int i = l + 1;
    int j = r;
    for (;;) {
        do {
            ++i;
        } while (data[i] < pivot);
        do {
            --j;
        } while (data[j] > pivot);
        if (j < i)
            break;
        swapIfGreater(data[i], data[j]);
    }
    data[l + 1] = data[j];
    data[j] = pivot;
    return {i, j};
}

}  // namespace

float getFloatMedianByQuickMethod(float* data, int n) {
    const int k = n / 2;
    int l = 0;
    int r = n - 1;
    while (r > l + 1) {
        swapIfGreater(data[(l + r) / 2], data[l + 1]);
        swapIfGreater(data[l], data[r]);
        swapIfGreater(data[l + 1], data[r]);
        swapIfGreater(data[l], data[l + 1]);
        const auto [i, j] = partitionAroundPivot(data, l, r);
        if (j >= k)
            r = j - 1;
        if (j <= k)
            l = i;
    }
    if (r == l + 1)
        swapIfGreater(data[l], data[r]);
    return data[k];
}

WORD getHisMedian(const WORD* data, int n, int* hist, int bins) {
    for (int k = 0; k < bins; ++k)
        hist[k] = 0;
    for (int i = 0; i < n; ++i) {
        if (data[i] < bins)
            ++hist[data[i]];
    }
    int sum = 0;
    for (int k = 0; k < bins; ++k) {
        sum += hist[k];
        if (sum >= n / 2)
            return static_cast<WORD>(k);
    }
    return static_cast<WORD>(bins);
}

namespace {

std::vector<float> floatHistogram(const float* data, int n, float low, float high, int bins) {
    std::vector<float> hist(bins, 0.0f);
    const float range = high - low;
    for (int i = 0; i < n; ++i) {
        const float x = data[i];
        const bool counts = (low < x && x < high) || std::fabs(x - high) < 1e-6f || std::fabs(x - low) < 1e-6f;
        if (!counts)
            continue;
        const int bin = truncateToInt((x - low) / range * static_cast<float>(bins));
        if (bin < bins)
            hist[bin] += 1.0f;
    }
    return hist;
}

}  // namespace

float getFloatHisMedian(const float* data, int n) {
    float low = 65535.0f;
    float high = 0.0f;
    for (int i = 0; i < n; ++i) {
        if (data[i] < low)
            low = data[i];
        if (data[i] > high)
            high = data[i];
    }
    if (high > 110.0f)
        high = 110.0f;
    const int bins = truncateToInt((high - low) / 0.0001f);
    if (bins <= 0)
        return low + 0.0f;
    const std::vector<float> hist = floatHistogram(data, n, low, high, bins);
    int count = 0;
    int k = 0;
    while (count < n / 2 && k < bins) {
        count = truncateToInt(static_cast<float>(count) + hist[k]);
        ++k;
    }
    return low + static_cast<float>(k) * 0.0001f;
}

namespace {

template <class T>
float meanRoundedToFloat(const T* image, int n) {
    double sum = 0;
    for (int i = 0; i < n; ++i)
        sum += image[i];
    return static_cast<float>(sum / n);
}

// Deviation gives a float for an element; squares are single precision, their sum is double.
template <class T, class Deviation>
float rootMeanSquare(const T* image, int n, Deviation deviation) {
    double sum = 0;
    for (int i = 0; i < n; ++i) {
        const float d = deviation(image[i]);
        const float square = d * d;
        sum += square;
    }
    return static_cast<float>(std::sqrt(sum / n));
}

template <class T>
float stdevAboutTruncatedMean(const T* image, int n) {
    const int mean = truncateToInt(meanRoundedToFloat(image, n));
    return rootMeanSquare(image, n, [mean](T value) {
        const auto difference = static_cast<std::uint32_t>(value) - static_cast<std::uint32_t>(mean);
        return static_cast<float>(static_cast<std::int32_t>(difference));
    });
}

}  // namespace

float getStdev(const WORD* image, int width, int height) {
    return stdevAboutTruncatedMean(image, width * height);
}

float getStdev(const int* image, int width, int height) {
    return stdevAboutTruncatedMean(image, width * height);
}

float getStdev(const float* image, int width, int height) {
    const int n = width * height;
    const float mean = meanRoundedToFloat(image, n);
    return rootMeanSquare(image, n, [mean](float value) { return value - mean; });
}

void getStdevAndMean(const int* image, int width, int height, float& mean, float& stdev) {
    const int n = width * height;
    mean = meanRoundedToFloat(image, n);
    stdev = rootMeanSquare(image, n, [mean](int value) { return static_cast<float>(value) - mean; });
}

double getMean(const WORD* data, int n) {
    double sum = 0;
    for (int i = 0; i < n; ++i)
        sum += data[i];
    return sum / n;
}

namespace {

template <class T>
std::vector<T> regionCopy(const T* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    std::vector<T> region;
    for (int row = rowStart; row <= rowEnd; ++row) {
        for (int col = colStart; col <= colEnd; ++col)
            region.push_back(image[row * width + col]);
    }
    return region;
}

}  // namespace

int findidxbigger(const float* data, int n, float threshold) {
    for (int i = 0; i < n; ++i) {
        if (data[i] >= threshold)
            return i;
    }
    return -1;
}

int findidxsmaller(const float* data, int n, float threshold) {
    for (int i = n - 1; i >= 0; --i) {
        if (data[i] <= threshold)
            return i;
    }
    return n;
}

int getROIMedian(const WORD* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    const std::vector<WORD> region = regionCopy(image, rowStart, rowEnd, colStart, colEnd, width);
    return descendingMedian(region.data(), static_cast<int>(region.size()));
}

int getROIMedian(const float* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    std::vector<float> region = regionCopy(image, rowStart, rowEnd, colStart, colEnd, width);
    return truncateToInt(getFloatMedianByQuickMethod(region.data(), static_cast<int>(region.size())));
}

int getROIMean(const WORD* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    const std::vector<WORD> region = regionCopy(image, rowStart, rowEnd, colStart, colEnd, width);
    return truncateToInt(getMean(region.data(), static_cast<int>(region.size())));
}

namespace {

struct ValueRange {
    int low;
    int high;
};

// Cuts 5 % of the values off at each end of a histogram of 65536 counters.
ValueRange centralRange(const std::vector<int>& hist, int n) {
    const int tail = static_cast<int>(static_cast<float>(n) * 0.05f);
    ValueRange range{0, 65535};
    for (int sum = 0; sum < tail; ++range.low)
        sum += hist[range.low];
    for (int sum = 0; sum < tail; --range.high)
        sum += hist[range.high];
    return range;
}

}  // namespace

int getHistogramByBins(int* counts, int* centers, int bins, const WORD* data, int n) {
    if (bins < 1)
        return 0;
    std::vector<int> hist(65536, 0);
    for (int i = 0; i < n; ++i)
        ++hist[data[i]];
    const ValueRange central = centralRange(hist, n);
    const int range = central.high - central.low + 1;
    const int step = range >= bins ? range / bins : 1;
    const int remainder = range % bins;
    int start = central.low;
    for (int b = 0; b < bins; ++b) {
        const int end = start + (b < remainder && range > bins ? step + 1 : step);
        std::int64_t count = 0;
        std::int64_t weighted = 0;
        for (int value = start; value < end && value <= 65535; ++value) {
            count += hist[value];
            weighted += std::int64_t{value} * hist[value];
        }
        counts[b] = static_cast<int>(count);
        centers[b] = count > 0 ? static_cast<int>(weighted / count) : (start + end) / 2;
        start = end;
    }
    return 0;
}

double GaussSource::next(double sigma, double mean) {
    double factor = v_;
    if (!cached_) {
        double u = 0;
        do {
            u = (std::rand() & 0x7FFF) / 32767.0 * 2 - 1;
            v_ = (std::rand() & 0x7FFF) / 32767.0 * 2 - 1;
            s_ = u * u + v_ * v_;
        } while (s_ >= 1 || s_ == 0);
        factor = u;
    }
    cached_ = !cached_;
    return factor * std::sqrt(-2.0 * std::log(s_) / s_) * sigma + mean;
}

}  // namespace qx::plain
