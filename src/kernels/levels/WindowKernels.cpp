#include "kernels/WindowKernels.h"
#include "kernels/levels/VectorLanes.h"

#define QX_UNROLLED _Pragma("GCC unroll 32")

namespace qx {
namespace {

constexpr int kPixelLanes = 2 * kLanes;

struct Pixels {
    Bits lanes;
};

Pixels smallerOf(Pixels a, Pixels b) {
    return {smallerShorts(a.lanes, b.lanes)};
}
Pixels largerOf(Pixels a, Pixels b) {
    return {largerShorts(a.lanes, b.lanes)};
}
using ::largerOf;
using ::smallerOf;
float smallerOf(float a, float b) {
    return a < b ? a : b;
}
float largerOf(float a, float b) {
    return a < b ? b : a;
}

template <class Value>
[[gnu::always_inline]] inline void order(Value& a, Value& b) {
    const Value smaller = smallerOf(a, b);
    b = largerOf(a, b);
    a = smaller;
}

#if defined(__AVX512F__)
// Only one port finds the smaller or the larger of such wide pixels; the larger one is what is left of both.
[[gnu::always_inline]] inline void order(Pixels& a, Pixels& b) {
    const Pixels smaller = smallerOf(a, b);
    b.lanes = a.lanes ^ b.lanes ^ smaller.lanes;
    a = smaller;
}
#endif

// Moves the smallest of so many values to the front and the largest to the end.
template <int count, class Value>
[[gnu::always_inline]] inline void moveExtremesOut(Value* values) {
    QX_UNROLLED
    for (int i = 0; i < count / 2; ++i)
        order(values[i], values[count - 1 - i]);
    QX_UNROLLED
    for (int i = 1; i < (count + 1) / 2; ++i)
        order(values[0], values[i]);
    QX_UNROLLED
    for (int i = count / 2; i < count - 1; ++i)
        order(values[i], values[count - 1]);
}

// Of half the values and two more, neither the smallest nor the largest is the median of all. They make room for a
// value that was not looked at; the next ones come from `rest` on.
template <int count, class Value>
[[gnu::always_inline]] inline Value medianOfRest(Value* values, const Value* rest) {
    moveExtremesOut<count>(values);
    if constexpr (count == 3) {
        return values[1];
    } else {
        values[0] = *rest;
        return medianOfRest<count - 1>(values, rest + 1);
    }
}

// The median of an odd number of values, which lose their places.
template <int size, class Value>
[[gnu::always_inline]] inline Value medianOf(Value* values) {
    constexpr int kFirst = size / 2 + 2;
    return medianOfRest<kFirst>(values, values + kFirst);
}

Pixels pixelsAt(const std::uint16_t* pixels) {
    return {Bits(loadShorts(pixels))};
}

void storePixelsAt(Pixels pixels, std::uint16_t* target) {
    store(target, pixels.lanes);
}

struct Bounds {
    Pixels lower;
    Pixels upper;
};

// The two in the middle of four.
Bounds middleOfFour(Pixels* pixels) {
    order(pixels[0], pixels[1]);
    order(pixels[2], pixels[3]);
    Bounds middle = {largerOf(pixels[0], pixels[2]), smallerOf(pixels[1], pixels[3])};
    order(middle.lower, middle.upper);
    return middle;
}

// The median of pixels of which all but one are known: as many lie below `lower` as above `upper`.
Pixels between(Pixels lower, Pixels upper, Pixels last) {
    return largerOf(lower, smallerOf(upper, last));
}

// Four rows that two windows of five share, and what either has alone.
struct FiveRows {
    Pixels first;
    Pixels shared[4];
    Pixels last;
};

Bounds mediansOf(FiveRows rows) {
    const Bounds middle = middleOfFour(rows.shared);
    return {between(middle.lower, middle.upper, rows.first), between(middle.lower, middle.upper, rows.last)};
}

// How pixels come and go: as whole vectors, or as fewer pixels than a vector holds.
struct Whole {
    Pixels load(ConstPixelRow pixels) const { return pixelsAt(pixels); }
    void store(Pixels pixels, PixelRow target) const { storePixelsAt(pixels, target); }
};

struct First {
    int count;

    Pixels load(ConstPixelRow pixels) const {
        std::uint16_t padded[kPixelLanes] = {};
        __builtin_memcpy(padded, pixels, static_cast<std::size_t>(count) * sizeof *pixels);
        return pixelsAt(padded);
    }
    void store(Pixels pixels, PixelRow target) const {
        __builtin_memcpy(target, &pixels, static_cast<std::size_t>(count) * sizeof *target);
    }
};

void mediansOfFive(PixelRow row, std::ptrdiff_t stride, int count, const PixelRow* above, ConstPixelRow below,
                   PixelRow next) noexcept {
    const PixelRow twoAbove = above[0];
    const PixelRow oneAbove = above[1];
    const auto filterAt = [=](int x, auto access) __attribute__((always_inline)) {
        const Pixels here = access.load(row + x);
        const Pixels behind = access.load(row + stride + x);
        const Pixels last = access.load(row + 2 * stride + x);
        const Bounds medians = mediansOf(
            {access.load(twoAbove + x), {access.load(oneAbove + x), here, behind, last}, access.load(below + x)});
        access.store(here, twoAbove + x);
        access.store(behind, oneAbove + x);
        access.store(medians.lower, row + x);
        access.store(medians.upper, next + x);
    };
    // The next two rows that are new: the processor does not look from row to row.
    const auto rowBytes = stride * static_cast<std::ptrdiff_t>(sizeof *row);
    int x = 0;
    for (; x + kPixelLanes <= count; x += kPixelLanes) {
        fetchFrom(row + x, 4 * rowBytes);
        fetchFrom(row + x, 5 * rowBytes);
        filterAt(x, Whole{});
    }
    if (x < count)
        filterAt(x, First{count - x});
}

void split(ConstPixelRow pixels, std::ptrdiff_t stride, int count, PixelRow even, PixelRow odd) noexcept {
    const auto strideBytes = stride * static_cast<std::ptrdiff_t>(sizeof *pixels);
    int k = 0;
    for (; 2 * k + 2 * kPixelLanes <= count; k += kPixelLanes) {
        fetchFrom(pixels + 2 * k, strideBytes);
        fetchFrom(pixels + 2 * k + kPixelLanes, strideBytes);
        const Uints low = Uints(loadInts(pixels + 2 * k));
        const Uints high = Uints(loadInts(pixels + 2 * k + kPixelLanes));
        storePixels(even + k, Ints(low & 0xFFFF), Ints(high & 0xFFFF));
        storePixels(odd + k, Ints(low >> 16), Ints(high >> 16));
    }
    for (; 2 * k < count; ++k) {
        even[k] = pixels[2 * k];
        odd[k] = 2 * k + 1 < count ? pixels[2 * k + 1] : 0;
    }
}

void orderFours(const ConstPixelRow* rows, int count, const PixelRow* ordered) noexcept {
    for (int x = 0; x < count; x += kPixelLanes) {
        Pixels four[kOrderedPixels];
        for (int i = 0; i < kOrderedPixels; ++i)
            four[i] = pixelsAt(rows[i] + x);
        order(four[0], four[1]);
        order(four[2], four[3]);
        order(four[0], four[2]);
        order(four[1], four[3]);
        order(four[1], four[2]);
        for (int i = 0; i < kOrderedPixels; ++i)
            storePixelsAt(four[i], ordered[i] + x);
    }
}

// The four in the middle of two ordered fours, in order.
void middleOfEight(const Pixels* a, const Pixels* b, Pixels* middle) {
    // The smaller halves of opposite values are the four smallest, bitonic; of these the larger two are wanted.
    Pixels low[] = {a[0], a[1], a[2], a[3]};
    Pixels high[] = {b[3], b[2], b[1], b[0]};
    QX_UNROLLED
    for (int i = 0; i < kOrderedPixels; ++i)
        order(low[i], high[i]);
    middle[0] = largerOf(low[0], low[2]);
    middle[1] = largerOf(low[1], low[3]);
    middle[2] = smallerOf(high[0], high[2]);
    middle[3] = smallerOf(high[1], high[3]);
    order(middle[0], middle[1]);
    order(middle[2], middle[3]);
}

void mediansOfEleven(const WindowPair& windows, int count, PixelRow ofFirst, PixelRow ofSecond) noexcept {
    for (int x = 0; x < count; x += kPixelLanes) {
        Pixels a[kOrderedPixels];
        Pixels b[kOrderedPixels];
        for (int i = 0; i < kOrderedPixels; ++i) {
            a[i] = pixelsAt(windows.firstFour[i] + x);
            b[i] = pixelsAt(windows.secondFour[i] + x);
        }
        Pixels middle[kOrderedPixels];
        middleOfEight(a, b, middle);
        Pixels low = pixelsAt(windows.pair[0] + x);
        Pixels high = pixelsAt(windows.pair[1] + x);
        order(low, high);
        // The third and the fourth of these six in order: the smallest bounds of so many values.
        const Pixels secondAtLeast = largerOf(middle[1], low);
        const Pixels thirdAtLeast = largerOf(middle[2], low);
        const Pixels lower = smallerOf(smallerOf(middle[2], secondAtLeast), largerOf(middle[0], high));
        const Pixels upper = smallerOf(smallerOf(middle[3], thirdAtLeast), largerOf(middle[1], high));
        storePixelsAt(between(lower, upper, pixelsAt(windows.ofFirst + x)), ofFirst + x);
        storePixelsAt(between(lower, upper, pixelsAt(windows.ofSecond + x)), ofSecond + x);
    }
}

// kPixelLanes ratios from any place on.
void ratiosFrom(int x, ConstPixelRow even, ConstPixelRow odd, ConstPixelRow pixels, float* ratios) {
    const ConstPixelRow here = (x % 2 == 0 ? even : odd) + x / 2;
    const ConstPixelRow next = x % 2 == 0 ? odd + x / 2 : even + x / 2 + 1;
    std::uint16_t medians[kPixelLanes];
    store(medians, loadPixels(here) | (loadPixels(next) << 16));
    for (int half = 0; half < kPixelLanes; half += kLanes) {
        const Floats ratio = toFloats(loadPixels(medians + half)) / toFloats(loadPixels(pixels + x + half));
        store(ratios + x + half, ratio);
    }
}

void ratios(ConstPixelRow even, ConstPixelRow odd, ConstPixelRow pixels, int count, float* ratios,
            std::ptrdiff_t stride) noexcept {
    if (count < kPixelLanes) {
        for (int x = 0; x < count; ++x) {
            const ConstPixelRow medians = x % 2 == 0 ? even : odd;
            ratios[x] = static_cast<float>(medians[x / 2]) / static_cast<float>(pixels[x]);
        }
        return;
    }
    // What lies before and behind whole vectors on cache lines is written by vectors that overlap with them.
    ratiosFrom(0, even, odd, pixels, ratios);
    auto x = static_cast<int>(valuesBeforeLine(ratios, static_cast<std::size_t>(count))) % kPixelLanes;
    const auto strideBytes = stride * static_cast<std::ptrdiff_t>(sizeof *ratios);
    for (; x + kPixelLanes <= count; x += kPixelLanes) {
        ratiosFrom(x, even, odd, pixels, ratios);
        fetchFrom(ratios + x, strideBytes);
        fetchFrom(ratios + x + kLanes, strideBytes);
    }
    ratiosFrom(count - kPixelLanes, even, odd, pixels, ratios);
}

template <int size>
void shortMediansOf(const float* samples, int count, float* medians) {
    const auto mediansAt = [samples](int x) {
        Floats window[size];
        QX_UNROLLED
        for (int i = 0; i < size; ++i)
            window[i] = loadFloats(samples + x + i);
        return medianOf<size>(window);
    };
    int x = 0;
    for (; x + kLanes <= count; x += kLanes)
        store(medians + x, mediansAt(x));
    for (; x < count; ++x) {
        float window[size];
        for (int i = 0; i < size; ++i)
            window[i] = samples[x + i];
        medians[x] = medianOf<size>(window);
    }
}

void shortMedians(const float* samples, int count, int half, float* medians) noexcept {
    static constexpr void (*kBySize[])(const float*, int, float*) = {
        shortMediansOf<3>,  shortMediansOf<5>,  shortMediansOf<7>, shortMediansOf<9>,
        shortMediansOf<11>, shortMediansOf<13>, shortMediansOf<15>};
    static_assert(sizeof kBySize / sizeof *kBySize == kLargestShortHalf);
    kBySize[half - 1](samples, count, medians);
}

// The windows of kLanes lines that move on together: the samples of each in ascending order, and in the order of their
// arrival, which tells the oldest.
class MovingWindows {
public:
    explicit MovingWindows(const RollingWindows& windows)
        : ordered_(windows.ordered), arrived_(windows.arrived), size_(windows.size) {
        for (std::ptrdiff_t i = 0; i < size_; ++i)
            store(arrived_ + i * kLanes, highest());
        for (std::ptrdiff_t i = 0; i <= size_; ++i)
            store(ordered_ + i * kLanes, highest());
    }

    // Puts a sample in the place of the oldest one; at first there are infinite ones. In one pass over the order o:
    //   t[i] = max(o[i - 1], min(o[i], sample))        is the order with the sample in it, one longer;
    //   o[i] = t[i] < removed ? t[i] : t[i + 1]        is that without the removed value.
    // o[i] is `held` and t[i] `here` when place i is written, so that nothing is read after it was overwritten. The
    // room behind the order stays infinite.
    void replaceOldest(Floats sample) {
        const Floats removed = loadFloats(arrived_ + oldest_ * kLanes);
        store(arrived_ + oldest_ * kLanes, sample);
        oldest_ = oldest_ + 1 < size_ ? oldest_ + 1 : 0;
        float* const end = ordered_ + size_ * kLanes;
        Floats held = loadFloats(ordered_);
        Floats here = smallerOf(held, sample);
#pragma GCC unroll 4
        for (float* place = ordered_; place != end; place += kLanes) {
            const Floats following = loadFloats(place + kLanes);
            const Floats next = largerOf(held, smallerOf(following, sample));
            store(place, here >= removed ? next : here);
            held = following;
            here = next;
        }
    }

    Floats medians() const {
        return loadFloats(ordered_ + size_ / 2 * kLanes);
    }

private:
    static Floats highest() {
        return Floats{} + __builtin_inff();
    }

    float* ordered_;
    float* arrived_;
    std::ptrdiff_t size_;
    std::ptrdiff_t oldest_ = 0;
};

// A NaN would stay in the order for ever, and a negative zero might take the place of a zero.
Floats regular(Floats samples) {
    const Floats unsignedZeros = samples + 0.0f;
    return unsignedZeros == unsignedZeros ? unsignedZeros : Floats{};
}

// The samples from place i on of kLanes lines, kLanes of each: one vector a place.
void loadPlaces(const float* lines, int steps, int i, Floats* places) {
    Floats ofLines[kLanes];
    for (int lane = 0; lane < kLanes; ++lane)
        ofLines[lane] = regular(loadFloats(lines + static_cast<std::ptrdiff_t>(lane) * steps + i));
    transposeLanes(ofLines, places);
}

// Puts so many values of a vector where there is room for them.
void storeFirst(Floats values, int count, float* target) {
    if (count >= kLanes)
        store(target, values);
    else if (count > 0)
        __builtin_memcpy(target, &values, static_cast<std::size_t>(count) * sizeof *target);
}

constexpr int kLargestRollingHalf = 16 + 7 * kLanes;

void rollingMedians(const float* samples, int steps, int count, const RollingWindows& windows,
                    float* medians) noexcept {
    for (int line = 0; line < kRollingLines; line += kLanes) {
        const float* const lines = samples + static_cast<std::ptrdiff_t>(line) * steps;
        MovingWindows moving(windows);
        Floats places[kLanes];
        for (int i = 0; i < windows.size - 1; ++i) {
            if (i % kLanes == 0)
                loadPlaces(lines, steps, i, places);
            moving.replaceOldest(places[i % kLanes]);
        }
        for (int step = 0; step < steps; step += kLanes) {
            loadPlaces(lines, steps, step + windows.size - 1, places);
            for (Floats& place : places) {
                moving.replaceOldest(place);
                place = moving.medians();
            }
            Floats ofLines[kLanes];
            transposeLanes(places, ofLines);
            for (int lane = 0; lane < kLanes; ++lane) {
                const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(line + lane) * steps + step;
                if (first < count)
                    storeFirst(ofLines[lane], static_cast<int>(count - first), medians + first);
            }
        }
    }
}

}  // namespace

QX_TABLE_OF_LEVEL(WindowKernels) = {mediansOfFive, split,        orderFours,     mediansOfEleven,
                                    ratios,        shortMedians, rollingMedians, kLargestRollingHalf};

}  // namespace qx
