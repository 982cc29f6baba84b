// Compiled once a vector level, with QX_LEVEL naming it. Uses no inline function of another header.

#include "numerics/PixelKernels.h"
#include "numerics/VectorLanes.h"

#define QX_JOIN(a, b) a##b
#define QX_TABLE(level) QX_JOIN(kPixelKernels, level)

namespace qx {
namespace {

constexpr int kPixelBits = 16;

// So many 16-bit pixels, or differences of them, sum up in 32 bits.
constexpr std::size_t kIntSumBlock = 32768;

// So many ones sum up in 16 bits.
constexpr std::size_t kCountBlock = 65535;

std::size_t smaller(std::size_t a, std::size_t b) {
    return a < b ? a : b;
}

float squared(int deviation) {
    const auto value = static_cast<float>(deviation);
    return value * value;
}

double sumOfLanes(Doubles v) {
    double sum = 0;
    for (int lane = 0; lane < kLanes / 2; ++lane)
        sum += v[lane];
    return sum;
}

std::int64_t sum(const std::uint16_t* pixels, std::size_t count) noexcept {
    std::int64_t total = 0;
    for (std::size_t start = 0; start < count; start += kIntSumBlock) {
        const std::size_t end = smaller(start + kIntSumBlock, count);
        std::uint32_t block = 0;
        for (std::size_t i = start; i < end; ++i)
            block += pixels[i];
        total += block;
    }
    return total;
}

// Adds the moments of whole vectors of pixels; count is a multiple of kLanes and at most kIntSumBlock.
void addVectors(const std::uint16_t* pixels, std::size_t count, int centre, CentredMoments& moments) {
    Ints sums{};
    Ints lowest = Ints{} + moments.minimum;
    Ints highest = Ints{} + moments.maximum;
    Doubles squaresLow{};
    Doubles squaresHigh{};
    for (std::size_t i = 0; i < count; i += kLanes) {
        const Ints values = loadPixels(pixels + i);
        const Ints deviations = values - centre;
        lowest = values < lowest ? values : lowest;
        highest = values > highest ? values : highest;
        sums += deviations;
        const Floats single = toFloats(deviations);
        const Floats squares = single * single;
        squaresLow += lowDoubles(squares);
        squaresHigh += highDoubles(squares);
    }
    for (int lane = 0; lane < kLanes; ++lane) {
        moments.sum += sums[lane];
        moments.minimum = lowest[lane] < moments.minimum ? lowest[lane] : moments.minimum;
        moments.maximum = highest[lane] > moments.maximum ? highest[lane] : moments.maximum;
    }
    moments.squares += sumOfLanes(squaresLow + squaresHigh);
}

void addPixel(int value, int centre, CentredMoments& moments) {
    moments.sum += value - centre;
    moments.squares += static_cast<double>(squared(value - centre));
    moments.minimum = value < moments.minimum ? value : moments.minimum;
    moments.maximum = value > moments.maximum ? value : moments.maximum;
}

CentredMoments centredMoments(const std::uint16_t* pixels, std::size_t count, int centre) noexcept {
    CentredMoments moments{0, 0.0, 65535, 0};
    const std::size_t whole = count - count % kLanes;
    for (std::size_t start = 0; start < whole; start += kIntSumBlock)
        addVectors(pixels + start, smaller(kIntSumBlock, whole - start), centre, moments);
    for (std::size_t i = whole; i < count; ++i)
        addPixel(pixels[i], centre, moments);
    return moments;
}

std::size_t countBelow(const std::uint16_t* pixels, std::size_t count, std::uint16_t limit) {
    std::size_t total = 0;
    for (std::size_t start = 0; start < count; start += kCountBlock) {
        const std::size_t end = smaller(start + kCountBlock, count);
        std::uint16_t block = 0;
        for (std::size_t i = start; i < end; ++i)
            block = static_cast<std::uint16_t>(block + (pixels[i] < limit));
        total += block;
    }
    return total;
}

// The largest value that at most `rank` pixels lie below, found bit by bit.
std::uint16_t selectRank(const std::uint16_t* pixels, std::size_t count, std::size_t rank) noexcept {
    std::uint16_t value = 0;
    for (int bit = kPixelBits - 1; bit >= 0; --bit) {
        const auto trial = static_cast<std::uint16_t>(value | (1u << bit));
        if (countBelow(pixels, count, trial) <= rank)
            value = trial;
    }
    return value;
}

Ints laneNumbers() {
    Ints numbers{};
    for (int lane = 0; lane < kLanes; ++lane)
        numbers[lane] = lane;
    return numbers;
}

HistogramSum histogramSum(const std::uint32_t* counts, int first, int last) noexcept {
    Doubles countsSum{};
    Doubles values{};
    Ints value = laneNumbers() + first;
    int index = first;
    for (; index + kLanes - 1 <= last; index += kLanes, value += kLanes) {
        const Ints held = loadInts(counts + index);
        const Doubles low = lowDoubles(held);
        const Doubles high = highDoubles(held);
        countsSum += low + high;
        values += low * lowDoubles(value) + high * highDoubles(value);
    }
    HistogramSum result{static_cast<std::int64_t>(sumOfLanes(countsSum)),
                        static_cast<std::int64_t>(sumOfLanes(values))};
    for (; index <= last; ++index) {
        result.count += counts[index];
        result.sum += static_cast<std::int64_t>(counts[index]) * index;
    }
    return result;
}

double histogramSquares(const std::uint32_t* counts, int first, int last, int centre) noexcept {
    Doubles squaresLow{};
    Doubles squaresHigh{};
    Ints deviation = laneNumbers() + (first - centre);
    int index = first;
    for (; index + kLanes - 1 <= last; index += kLanes, deviation += kLanes) {
        const Ints held = loadInts(counts + index);
        const Floats single = toFloats(deviation);
        const Floats squares = single * single;
        squaresLow += lowDoubles(held) * lowDoubles(squares);
        squaresHigh += highDoubles(held) * highDoubles(squares);
    }
    double total = sumOfLanes(squaresLow + squaresHigh);
    for (; index <= last; ++index)
        total += static_cast<double>(counts[index]) * static_cast<double>(squared(index - centre));
    return total;
}

}  // namespace

const PixelKernels QX_TABLE(QX_LEVEL) = {sum, centredMoments, selectRank, histogramSum, histogramSquares};

}  // namespace qx
