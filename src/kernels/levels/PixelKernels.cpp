#include "kernels/PixelKernels.h"
#include "kernels/levels/VectorLanes.h"

namespace qx {
namespace {

// So many 16-bit pixels, or differences of them, sum up in 32 bits.
constexpr std::size_t kIntSumBlock = 32768;

std::size_t smaller(std::size_t a, std::size_t b) {
    return a < b ? a : b;
}

float squared(int deviation) {
    const auto value = static_cast<float>(deviation);
    return value * value;
}

std::int64_t sum(const std::uint16_t* pixels, std::size_t count) noexcept {
    std::int64_t total = 0;
    for (std::size_t start = 0; start < count; start += kIntSumBlock) {
        const std::size_t end = smaller(start + kIntSumBlock, count);
        Uints block{};
        std::size_t i = start;
        for (; i + kShortLanes <= end; i += kShortLanes) {
            fetchAhead(pixels + i);
            const Uints pairs = Uints(loadShorts(pixels + i));
            block += (pairs & 0xFFFF) + (pairs >> 16);
        }
        for (int lane = 0; lane < kLanes; ++lane)
            total += block[lane];
        for (; i < end; ++i)
            total += pixels[i];
    }
    return total;
}

// Pairs of squares of narrow deviations, 2^25 at most, that one lane sums up in 32 bits.
constexpr std::size_t kNarrowVectors = 64;
constexpr std::size_t kNarrowBlock = kNarrowVectors * kShortLanes;

// Adds the moments of at most kNarrowBlock pixels, a multiple of the vector's length.
void addNarrowBlock(const std::uint16_t* pixels, std::size_t count, Shorts centre, NarrowMoments& moments) {
    const Shorts ones = Shorts{} + 1;
    Shorts lowest = Shorts{} + 32767;
    Shorts highest = Shorts{} + kSignBit;
    Uints sums{};
    Uints squares{};
    for (std::size_t i = 0; i < count; i += kShortLanes) {
        fetchAhead(pixels + i);
        const Shorts deviations = differenceSaturated(loadShorts(pixels + i) ^ kSignBit, centre);
        lowest = deviations < lowest ? deviations : lowest;
        highest = deviations > highest ? deviations : highest;
        sums += sumOfProductPairs(deviations, ones);
        squares += sumOfProductPairs(deviations, deviations);
    }
    for (int lane = 0; lane < kShortLanes; ++lane) {
        moments.lowest = lowest[lane] < moments.lowest ? lowest[lane] : moments.lowest;
        moments.highest = highest[lane] > moments.highest ? highest[lane] : moments.highest;
    }
    for (int lane = 0; lane < kLanes; ++lane) {
        moments.sum += static_cast<std::int32_t>(sums[lane]);
        moments.squares += squares[lane];
    }
}

void addNarrowPixel(int deviation, NarrowMoments& moments) {
    moments.lowest = deviation < moments.lowest ? deviation : moments.lowest;
    moments.highest = deviation > moments.highest ? deviation : moments.highest;
    moments.sum += deviation;
    moments.squares += static_cast<std::int64_t>(deviation) * deviation;
}

bool isNarrow(const NarrowMoments& moments) {
    return moments.lowest >= -kNarrowDeviation && moments.highest <= kNarrowDeviation;
}

// Gives up after the first block that is not narrow.
NarrowMoments narrowMoments(const std::uint16_t* pixels, std::size_t count, int centre) noexcept {
    NarrowMoments moments{true, 0, 0, kNarrowDeviation, -kNarrowDeviation};
    // With the sign bit turned over, unsigned pixels keep their order and differences as signed values.
    const Shorts signedCentre = Shorts{} + static_cast<std::int16_t>(centre - 32768);
    const std::size_t whole = count - count % kShortLanes;
    for (std::size_t start = 0; start < whole && moments.valid; start += kNarrowBlock) {
        addNarrowBlock(pixels + start, smaller(kNarrowBlock, whole - start), signedCentre, moments);
        moments.valid = isNarrow(moments);
    }
    for (std::size_t i = whole; i < count && moments.valid; ++i) {
        addNarrowPixel(pixels[i] - centre, moments);
        moments.valid = isNarrow(moments);
    }
    return moments;
}

double squares(const std::uint16_t* pixels, std::size_t count, int centre) noexcept {
    Doubles low{};
    Doubles high{};
    std::size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        fetchAhead(pixels + i);
        const Floats deviations = toFloats(loadPixels(pixels + i) - centre);
        const Floats rounded = deviations * deviations;
        low += lowDoubles(rounded);
        high += highDoubles(rounded);
    }
    double total = sumOfLanes(low + high);
    for (; i < count; ++i)
        total += static_cast<double>(squared(pixels[i] - centre));
    return total;
}

std::uint16_t shiftedPixel(int pixel, float offset) {
    const float sum = static_cast<float>(pixel) + offset;
    return sum >= 65535.0f ? 65535 : sum > 0.0f ? static_cast<std::uint16_t>(sum) : 0;
}

// The shift in whole numbers. A sum in single precision may be rounded up to the next integer; the larger the sum the
// sooner, so there is a first pixel from which it is.
struct WholeShift {
    int step;     // the offset rounded down
    int firstUp;  // pixels from here on are shifted by one more

    explicit WholeShift(float offset) : step(static_cast<int>(offset)), firstUp(65536) {
        step -= static_cast<float>(step) > offset;
        int low = step < 0 ? -step : 0;
        while (low < firstUp) {
            const int middle = (low + firstUp) / 2;
            if (static_cast<float>(middle) + offset >= static_cast<float>(middle + step + 1))
                firstUp = middle;
            else
                low = middle + 1;
        }
    }
};

void fill(std::uint16_t* pixels, std::size_t count, std::uint16_t value) {
    for (std::size_t i = 0; i < count; ++i)
        pixels[i] = value;
}

// Sums and differences of unsigned lanes that stop at their ends.
Bits shiftedUp(Bits pixels, const WholeShift& whole, Bits isUp) {
    const Bits step = Bits(Shorts{} + static_cast<std::int16_t>(whole.step));
    return unsignedSum(unsignedSum(pixels, step), Bits(Shorts(isUp) & 1));
}
Bits shiftedDown(Bits pixels, const WholeShift& whole, Bits isUp) {
    return unsignedDifference(pixels, Bits(Shorts{} + static_cast<std::int16_t>(-whole.step) + Shorts(isUp)));
}

template <class Shifted>
void shiftBy(std::uint16_t* pixels, std::size_t count, float offset, const WholeShift& whole, Shifted shifted) {
    const Bits firstUp = Bits(Shorts{} + static_cast<std::int16_t>(whole.firstUp));
    const Shorts anyUp = whole.firstUp < 65536 ? ~Shorts{} : Shorts{};
    std::size_t i = valuesBeforeLine(pixels, count);
    for (std::size_t k = 0; k < i; ++k)
        pixels[k] = shiftedPixel(pixels[k], offset);
    for (; i + kShortLanes <= count; i += kShortLanes) {
        fetchAhead(pixels + i);
        const Bits old = Bits(loadShorts(pixels + i));
        const Bits isUp = Bits((Shorts(unsignedDifference(firstUp, old)) == 0) & anyUp);
        store(pixels + i, shifted(old, whole, isUp));
    }
    for (; i < count; ++i)
        pixels[i] = shiftedPixel(pixels[i], offset);
}

void shift(std::uint16_t* pixels, std::size_t count, float offset) noexcept {
    // What is not a number takes everything to 0.
    if (!(offset > -65535.0f))
        return fill(pixels, count, 0);
    if (offset >= 65535.0f)
        return fill(pixels, count, 65535);
    const WholeShift whole(offset);
    if (whole.step >= 0)
        shiftBy(pixels, count, offset, whole, [](auto... values) { return shiftedUp(values...); });
    else
        shiftBy(pixels, count, offset, whole, [](auto... values) { return shiftedDown(values...); });
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

QX_TABLE_OF_LEVEL(PixelKernels) = {sum, narrowMoments, squares, shift, histogramSum, histogramSquares};

}  // namespace qx
