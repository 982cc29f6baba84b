#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Scratch.h"
#include "numerics/statistics/PixelHistogram.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

namespace {

constexpr float kFloatBinWidth = 0.0001f;
constexpr float kFloatCeiling = 110.0f;
constexpr float kBorderTolerance = 1e-6f;
constexpr int kManyBins = 1 << 20;
constexpr float kTailShare = 0.05f;

// Counts the values below `bins` into a histogram that is already cleared.
void countBelow(std::span<const WORD> data, int* hist, int bins) {
    if (bins >= qx::kPixelValues) {
        static_assert(sizeof(int) == sizeof(std::uint32_t));
        qx::countPixels(data, reinterpret_cast<std::uint32_t*>(hist));
        return;
    }
    for (const WORD value : data)
        if (value < bins)
            ++hist[value];
}

// The first value at which the running count reaches `half`; `bins` when none does.
// Kept: a `half` of 0 is reached at 0.
int valueThatReaches(int half, const int* hist, int bins) {
    std::int64_t running = 0;
    for (int value = 0; value < bins; ++value) {
        running += hist[value];
        if (running >= half)
            return value;
    }
    return bins;
}

// Bins of equal width between the smallest and the largest value.
struct FloatBins {
    float minimum = 65535.0f;
    float maximum = 0.0f;
    int count = 0;

    float width() const { return maximum - minimum; }
    bool holds(float x) const {
        return (minimum < x && x < maximum) || std::abs(x - maximum) < kBorderTolerance ||
               std::abs(x - minimum) < kBorderTolerance;
    }

    // The bin of a value, or -1 for one that is not counted.
    // Kept: the maximum would be in the bin behind the last one, so it is not counted.
    int binOf(float x) const {
        if (!holds(x))
            return -1;
        const float position = (x - minimum) / width();
        const int bin = qx::truncateToInt(position * static_cast<float>(count));
        return bin >= 0 && bin < count ? bin : -1;
    }
};

FloatBins binsBetweenExtremes(std::span<const float> data) {
    FloatBins bins;
    for (const float x : data) {
        if (x < bins.minimum)
            bins.minimum = x;
        if (x > bins.maximum)
            bins.maximum = x;
    }
    // Kept: a fixed ceiling, also where the minimum lies above it.
    bins.maximum = std::min(bins.maximum, kFloatCeiling);
    return bins;
}

// The running count is an integer that takes part in single-precision sums. It is always a number that single precision
// holds, so bins without values leave it as it is.
int addToCount(int running, float held) {
    return qx::truncateToInt(static_cast<float>(running) + held);
}

// How many bins are passed until the running count reaches `half`; -1 when memory is short.
int middleOfBins(std::span<const float> data, const FloatBins& bins, int half) {
    qx::Scratch<float> held(bins.count);
    if (!held)
        return -1;
    held.clear();
    for (const float x : data)
        if (const int bin = bins.binOf(x); bin >= 0)
            held[bin] += 1.0f;
    int passed = 0;
    for (int running = 0; running < half && passed < bins.count; ++passed)
        running = addToCount(running, held[passed]);
    return passed;
}

// The same for so many bins that most hold nothing: only those that do are visited.
int middleOfSparseBins(std::span<const float> data, const FloatBins& bins, int half) {
    // A bin counts in single precision, where adding one stops having an effect.
    constexpr std::ptrdiff_t kLargestCount = 1 << 24;
    qx::Scratch<int> sorted(std::ssize(data));
    if (!sorted)
        return -1;
    int* const end = std::transform(data.begin(), data.end(), sorted.data(), [&](float x) { return bins.binOf(x); });
    std::sort(sorted.data(), end);
    int running = 0;
    int passed = 0;
    for (const int* bin = std::lower_bound(sorted.data(), end, 0); bin != end && running < half;) {
        const int* const next = std::upper_bound<const int*>(bin, end, *bin);
        running = addToCount(running, static_cast<float>(std::min(next - bin, kLargestCount)));
        passed = *bin + 1;
        bin = next;
    }
    return running < half ? bins.count : passed;
}

// How many values from one end of the histogram are passed until their pixels reach `tail`.
int valuesInTail(const std::uint32_t* counts, int tail, bool fromBelow) {
    int passed = 0;
    for (std::int64_t pixels = 0; pixels < tail && passed < qx::kPixelValues; ++passed)
        pixels += counts[fromBelow ? passed : qx::kPixelValues - 1 - passed];
    return passed;
}

// Pixels, and the sum of their values, between two values; the end is excluded and values above 65535 hold nothing.
struct BinContent {
    int pixels = 0;
    std::int64_t sum = 0;
};

BinContent contentOf(const std::uint32_t* counts, std::int64_t start, std::int64_t end) {
    BinContent content;
    for (std::int64_t value = start; value < std::min<std::int64_t>(end, qx::kPixelValues); ++value) {
        content.pixels += counts[value];
        content.sum += counts[value] * value;
    }
    return content;
}

}  // namespace

// Kept: the medians hand back a status as a number.
WORD getHisMedian(const WORD* data, int n, int* hist, int bins) {
    if (data == nullptr || n < 1 || hist == nullptr)
        return StatusNullArgument;
    std::fill_n(hist, std::max(bins, 0), 0);
    countBelow(std::span(data, n), hist, bins);
    // Kept: values beyond the bins count in n.
    return static_cast<WORD>(valueThatReaches(n / 2, hist, bins));
}

float getFloatHisMedian(const float* data, int n, int*, int) {
    if (data == nullptr || n < 1)
        return StatusNullArgument;
    const std::span<const float> values(data, n);
    FloatBins bins = binsBetweenExtremes(values);
    const float binCount = bins.width() / kFloatBinWidth;
    if (!(binCount >= 1.0f))
        return bins.minimum + 0.0f;  // no bin is passed, and the sum of zeros has no sign
    if (binCount >= static_cast<float>(INT_MAX))
        return StatusWrongParameter;
    bins.count = qx::truncateToInt(binCount);
    const int passed =
        bins.count <= kManyBins ? middleOfBins(values, bins, n / 2) : middleOfSparseBins(values, bins, n / 2);
    if (passed < 0)
        return StatusAllocationFailed;
    return bins.minimum + static_cast<float>(passed) * kFloatBinWidth;
}

int getHistogramByBins(int* counts, int* centers, int bins, const WORD* data, int n) {
    if (counts == nullptr || centers == nullptr || data == nullptr)
        return StatusNullArgument;
    qx::PixelHistogram histogram;
    if (!histogram)
        return StatusAllocationFailed;
    histogram.add(std::span(data, std::max(n, 0)));
    const std::uint32_t* const held = histogram.counts();
    // Kept: the bins share what is left between two tails, even where that is nothing.
    const int tail = qx::truncateToInt(static_cast<float>(n) * kTailShare);
    const int low = valuesInTail(held, tail, true);
    const int high = qx::kPixelValues - 1 - valuesInTail(held, tail, false);
    const int range = high - low + 1;
    if (bins < 1)
        return StatusOk;
    const int step = range >= bins ? range / bins : 1;
    const int remainder = range % bins;
    std::int64_t start = low;
    for (int bin = 0; bin < bins; ++bin) {
        const std::int64_t end = start + step + (bin < remainder && range > bins ? 1 : 0);
        const BinContent content = contentOf(held, start, end);
        counts[bin] = content.pixels;
        centers[bin] = static_cast<int>(content.pixels > 0 ? content.sum / content.pixels : (start + end) / 2);
        start = end;
    }
    return StatusOk;
}
