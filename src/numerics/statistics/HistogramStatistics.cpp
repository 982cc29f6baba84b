#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Scratch.h"
#include "numerics/statistics/PixelHistogram.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>

namespace {

constexpr float kFloatBinWidth = 0.0001f;
constexpr float kFloatCeiling = 110.0f;
constexpr float kBorderTolerance = 1e-6f;
constexpr int kManyBins = 1 << 20;
constexpr float kTailShare = 0.05f;

using PixelCounts = std::array<std::uint32_t, qx::kPixelValues>;

// Counts the values below `bins` into a histogram that is already cleared.
void countBelow(const WORD* data, int n, int* hist, int bins) {
    if (bins >= qx::kPixelValues) {
        static_assert(sizeof(int) == sizeof(std::uint32_t));
        qx::countPixels(data, static_cast<std::size_t>(n), reinterpret_cast<std::uint32_t*>(hist));
        return;
    }
    for (int i = 0; i < n; ++i)
        if (data[i] < bins)
            ++hist[data[i]];
}

struct FloatRange {
    float minimum = 65535.0f;
    float maximum = 0.0f;

    float width() const { return maximum - minimum; }
    bool holds(float x) const {
        return (minimum < x && x < maximum) || std::abs(x - maximum) < kBorderTolerance ||
               std::abs(x - minimum) < kBorderTolerance;
    }
};

FloatRange rangeOf(const float* data, int n) {
    FloatRange range;
    for (int i = 0; i < n; ++i) {
        if (data[i] < range.minimum)
            range.minimum = data[i];
        if (data[i] > range.maximum)
            range.maximum = data[i];
    }
    // Kept: a fixed ceiling, also where the minimum lies above it.
    range.maximum = std::min(range.maximum, kFloatCeiling);
    return range;
}

// The bin of a value, or -1 for one that is not counted.
int binOf(float x, const FloatRange& range, int binCount) {
    if (!range.holds(x))
        return -1;
    const float position = (x - range.minimum) / range.width();
    const int bin = qx::truncateToInt(position * static_cast<float>(binCount));
    return bin >= 0 && bin < binCount ? bin : -1;
}

// Kept: the running count is an integer that takes part in single-precision sums.
int addToCount(int running, float held) {
    return qx::truncateToInt(static_cast<float>(running) + held);
}

// How many bins are passed until the running count reaches `half`; -1 when memory is short.
int middleOfBins(const float* data, int n, const FloatRange& range, int binCount, int half) {
    qx::Scratch<float> bins(static_cast<std::size_t>(binCount));
    if (!bins)
        return -1;
    bins.clear();
    for (int i = 0; i < n; ++i)
        if (const int bin = binOf(data[i], range, binCount); bin >= 0)
            bins[static_cast<std::size_t>(bin)] += 1.0f;
    int passed = 0;
    for (int running = 0; running < half && passed < binCount; ++passed)
        running = addToCount(running, bins[static_cast<std::size_t>(passed)]);
    return passed;
}

// The same for so many bins that most hold nothing: only those that do are visited.
int middleOfSparseBins(const float* data, int n, const FloatRange& range, int binCount, int half) {
    // A bin counts in single precision, where adding one stops having an effect.
    constexpr std::ptrdiff_t kLargestCount = 1 << 24;
    qx::Scratch<int> bins(static_cast<std::size_t>(n));
    if (!bins)
        return -1;
    int* const end = std::transform(data, data + n, bins.data(), [&](float x) { return binOf(x, range, binCount); });
    std::sort(bins.data(), end);
    int running = 0;
    int passed = 0;
    for (const int* bin = std::lower_bound(bins.data(), end, 0); bin != end && running < half;) {
        // Passing empty bins rounds the count once; more of them change nothing.
        if (passed < *bin && (running = addToCount(running, 0.0f)) >= half)
            return passed + 1;
        const int* const next = std::upper_bound(bin, static_cast<const int*>(end), *bin);
        running = addToCount(running, static_cast<float>(std::min(next - bin, kLargestCount)));
        passed = *bin + 1;
        bin = next;
    }
    return running < half ? binCount : passed;
}

// How many values from one end of the histogram are passed until their pixels reach `tail`.
int valuesInTail(const PixelCounts& counts, int tail, bool fromBelow) {
    int passed = 0;
    for (std::int64_t pixels = 0; pixels < tail && passed < qx::kPixelValues; ++passed)
        pixels += counts[static_cast<std::size_t>(fromBelow ? passed : qx::kPixelValues - 1 - passed)];
    return passed;
}

// Pixels, and the sum of their values, between two values; the end is excluded and values above 65535 hold nothing.
struct BinContent {
    std::int64_t pixels = 0;
    std::int64_t sum = 0;
};

BinContent contentOf(const PixelCounts& counts, std::int64_t start, std::int64_t end) {
    BinContent content;
    for (std::int64_t value = start; value < std::min<std::int64_t>(end, qx::kPixelValues); ++value) {
        const std::uint32_t count = counts[static_cast<std::size_t>(value)];
        content.pixels += count;
        content.sum += count * value;
    }
    return content;
}

}  // namespace

WORD getHisMedian(const WORD* data, int n, int* hist, int bins) {
    if (data == nullptr || n < 1 || hist == nullptr)
        return StatusNullArgument;
    std::fill_n(hist, std::max(bins, 0), 0);
    countBelow(data, n, hist, bins);
    std::int64_t running = 0;
    for (int value = 0; value < bins; ++value) {
        running += hist[value];
        if (running >= n / 2)
            return static_cast<WORD>(value);
    }
    return static_cast<WORD>(bins);
}

float getFloatHisMedian(const float* data, int n, int*, int) {
    if (data == nullptr || n < 1)
        return static_cast<float>(StatusNullArgument);
    const FloatRange range = rangeOf(data, n);
    const float binCount = range.width() / kFloatBinWidth;
    if (!(binCount >= 1.0f))
        return range.minimum;
    if (binCount >= static_cast<float>(INT_MAX))
        return static_cast<float>(StatusWrongParameter);
    const auto count = static_cast<int>(binCount);
    const int passed = count <= kManyBins ? middleOfBins(data, n, range, count, n / 2)
                                          : middleOfSparseBins(data, n, range, count, n / 2);
    if (passed < 0)
        return static_cast<float>(StatusAllocationFailed);
    return range.minimum + static_cast<float>(passed) * kFloatBinWidth;
}

int getHistogramByBins(int* counts, int* centers, int bins, const WORD* data, int n) {
    if (counts == nullptr || centers == nullptr || data == nullptr)
        return StatusNullArgument;
    PixelCounts histogram{};
    qx::countPixels(data, static_cast<std::size_t>(std::max(n, 0)), histogram.data());
    const int tail = qx::truncateToInt(static_cast<float>(n) * kTailShare);
    const int low = valuesInTail(histogram, tail, true);
    const int high = qx::kPixelValues - 1 - valuesInTail(histogram, tail, false);
    const int range = high - low + 1;
    if (bins < 1)
        return StatusOk;
    const int step = range >= bins ? range / bins : 1;
    const int remainder = range % bins;
    std::int64_t start = low;
    for (int bin = 0; bin < bins; ++bin) {
        const std::int64_t end = start + step + (bin < remainder && range > bins ? 1 : 0);
        const BinContent content = contentOf(histogram, start, end);
        counts[bin] = static_cast<int>(content.pixels);
        centers[bin] = static_cast<int>(content.pixels > 0 ? content.sum / content.pixels : (start + end) / 2);
        start = end;
    }
    return StatusOk;
}
