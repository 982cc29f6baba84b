#include "kernels/RankKernels.h"
#include "kernels/levels/RankSearch.h"
#include "kernels/levels/VectorLanes.h"

namespace qx {
namespace {

constexpr std::int32_t kLowestKey = -2147483647 - 1;
constexpr std::int32_t kHighestKey = 2147483647;

// Keys of the infinities: beyond them are the NaN.
constexpr std::int32_t kInfinity = 0x7F800000;
constexpr std::int32_t kMinusInfinity = -0x7F800001;
constexpr std::int32_t kMinusZero = -1;

// Integers in the order of the values: the bits below the sign are turned over where it is set.
Ints keysOf(Ints bits) {
    return bits ^ ((bits >> 31) & 0x7FFFFFFF);
}

float valueOf(std::int32_t key) {
    const std::int32_t bits = key ^ ((key >> 31) & 0x7FFFFFFF);
    float value;
    __builtin_memcpy(&value, &bits, sizeof value);
    return value;
}

Ints smallerOf(Ints a, Ints b) {
    return a < b ? a : b;
}

Ints largerOf(Ints a, Ints b) {
    return a > b ? a : b;
}

// What a selection needs to know of its keys, lane by lane.
struct KeyRange {
    Ints lowest = Ints{} + kHighestKey;
    Ints highest = Ints{} + kLowestKey;
    Ints minusZeros{};

    void add(Ints keys) {
        lowest = smallerOf(lowest, keys);
        highest = largerOf(highest, keys);
        minusZeros |= keys == kMinusZero;
    }
};

// Whether the order of the values decides: there is neither a NaN nor a negative zero.
bool isRegular(std::int32_t lowest, std::int32_t highest, std::int32_t minusZeros) {
    return minusZeros == 0 && lowest >= kMinusInfinity && highest <= kInfinity;
}

constexpr int kBlockVectors = kBlockSide * kBlockSide / kLanes;

// The keys around pivots, lane by lane.
struct Around {
    Ints below{};  // count of keys
    Ints previous = Ints{} + kLowestKey;
    Ints next = Ints{} + kHighestKey;

    void add(Ints keys, Ints pivots) {
        below = countLess(below, keys, pivots);
        previous = keys < pivots ? largerOf(previous, keys) : previous;
        next = keys < pivots ? next : smallerOf(next, keys);
    }
};

// Two sets of lanes, so that their operations do not wait for each other.
template <class KeysAt>
Ints countBelow(int vectors, Ints pivots, KeysAt keysAt) {
    Ints even{};
    Ints odd{};
    int i = 0;
    for (; i + 2 <= vectors; i += 2) {
        even = countLess(even, keysAt(i), pivots);
        odd = countLess(odd, keysAt(i + 1), pivots);
    }
    if (i < vectors)
        even = countLess(even, keysAt(i), pivots);
    return even + odd;
}

template <class KeysAt>
Around lookAround(int vectors, Ints pivots, KeysAt keysAt) {
    Around even;
    Around odd;
    int i = 0;
    for (; i + 2 <= vectors; i += 2) {
        even.add(keysAt(i), pivots);
        odd.add(keysAt(i + 1), pivots);
    }
    if (i < vectors)
        even.add(keysAt(i), pivots);
    return {even.below + odd.below, largerOf(even.previous, odd.previous), smallerOf(even.next, odd.next)};
}

bool blockRank(const float* block, std::ptrdiff_t stride, int rank, float* value) noexcept {
    constexpr int kRowVectors = kBlockSide / kLanes;
    constexpr int kRowsAtOnce = 16;
    Ints keys[kBlockVectors];
    KeyRange range;
    for (int row = 0; row < kBlockSide; ++row) {
        for (int v = 0; v < kRowVectors; ++v) {
            const Ints key = keysOf(loadInts(block + row * stride + v * kLanes));
            keys[row * kRowVectors + v] = key;
            range.add(key);
        }
    }
    const std::int32_t lowest = smallestLane(range.lowest);
    const std::int32_t highest = largestLane(range.highest);
    if (!isRegular(lowest, highest, bitsOfLanes(range.minusZeros)))
        return false;
    RowsAhead ahead(block, stride, kBlockSide);
    RankSearch search(lowest, highest, kBlockSide * kBlockSide, rank);
    const auto keysAt = [&](int i) { return keys[i]; };
    const auto pivots = [&] { return Ints{} + static_cast<std::int32_t>(search.pivot()); };
    for (int step = 0; step < kCountingSteps && search.isOpen(); ++step) {
        ahead.fetch(kRowsAtOnce);
        const int below = sumOfLanes(countBelow(kBlockVectors, pivots(), keysAt));
        if (meetsRank(below, rank))
            break;
        search.narrow(below, search.pivot() - 1, search.pivot());
    }
    while (search.isOpen()) {
        const Around around = lookAround(kBlockVectors, pivots(), keysAt);
        search.narrowToKeys(sumOfLanes(around.below), largestLane(around.previous), smallestLane(around.next));
    }
    *value = valueOf(static_cast<std::int32_t>(search.key()));
    return true;
}

// The columns of a panel lie side by side in so many vectors.
constexpr int kPanelVectors = kPanelColumns / kLanes;

// Keys of kLanes columns, row by row.
struct Panel {
    const std::int32_t* keys;
    int rows;

    Ints row(int y) const { return loadInts(keys + static_cast<std::ptrdiff_t>(y) * kLanes); }
};

// RankSearch in every lane at once, in offsets from the lane's lowest key. The sought key lies between low and high,
// both included. With `below` keys below the pivot it is
//   at least the pivot where below <= rank, and the first key from the pivot on where below == rank;
//   less than the pivot where below > rank, and the last key before the pivot where below == rank + 1.
// A count alone narrows to the pivot; in those two cases a look at the keys around the pivot ends the lane's search, so
// the lane keeps its pivot until there is one. A lane whose low and high have met is not changed by either.
class LaneSearch {
public:
    LaneSearch(const KeyRange& range, int count, int rank)
        : lowest_(range.lowest), high_(Uints(range.highest) - Uints(range.lowest)), rank_(rank), pivot_(halfOf(high_)),
          spacing_(toFloats(Ints(pivot_)) * (2.0f * kSpacingOfMiddle / static_cast<float>(count))) {}

    bool isOpen() const { return anyLane(Ints(low_ != high_)); }
    Ints keys() const { return Ints(Uints(lowest_) + low_); }
    Ints pivots() const { return Ints(Uints(lowest_) + pivot_); }

    void narrowToKeys(const Around& around) {
        const Uints next = Uints(around.next) - Uints(lowest_);
        const Uints previous = Uints(around.previous) - Uints(lowest_);
        narrowTo(around.below, previous, next);
        high_ = around.below == rank_ ? next : high_;
        low_ = around.below == rank_ + 1 ? previous : low_;
        pivot_ = nextPivots(around.below);
    }

    // Whether a lane is left that a further count narrows.
    bool narrowByCounts(Ints below) {
        const Ints settled = (below == rank_) | (below == rank_ + 1);
        narrowTo(below, pivot_ - 1, pivot_);
        pivot_ = settled ? lastPivot_ : nextPivots(below);
        return anyLane(~settled & Ints(low_ != high_));
    }

private:
    void narrowTo(Ints below, Uints previous, Uints next) {
        low_ = below <= rank_ ? next : low_;
        high_ = below <= rank_ ? high_ : previous;
        const Ints ranks = below - lastBelow_;
        if (step_ > 0)
            spacing_ = ranks == 0 ? spacing_ : toFloats(Ints(pivot_ - lastPivot_)) / toFloats(ranks);
        lastPivot_ = pivot_;
        lastBelow_ = below;
        ++step_;
    }

    Uints nextPivots(Ints below) const {
        return low_ + (step_ % kStepsToHalving == 0 ? halfOf(high_ - low_) : stepAbove(below));
    }

    static Uints halfOf(Uints width) { return (width >> 1) + (width & 1); }

    // How far above low the next pivots are. The first ones were in the middle, so that no range exceeds 31 bits now.
    Uints stepAbove(Ints below) const {
        constexpr float kLargest = 2147483520.0f;
        const Ints width = Ints(high_ - low_);
        Floats position = toFloats(Ints(pivot_ - low_)) + (toFloats(rank_ - below) + 0.5f) * spacing_;
        position = position < kLargest ? position : Floats{} + kLargest;
        position = position > 1.0f ? position : Floats{} + 1.0f;
        return Uints(smallerOf(__builtin_convertvector(position, Ints), width));
    }

    Ints lowest_;
    Uints low_{};
    Uints high_;
    int rank_;
    int step_ = 0;
    Uints pivot_;
    Floats spacing_;
    Uints lastPivot_{};
    Ints lastBelow_{};
};

Ints keysOfRank(const Panel& panel, const KeyRange& range, int rank) {
    LaneSearch search(range, panel.rows, rank);
    const auto keysAt = [&](int y) { return panel.row(y); };
    bool open = search.isOpen();
    for (int step = 0; step < kCountingSteps && open; ++step)
        open = search.narrowByCounts(countBelow(panel.rows, search.pivots(), keysAt));
    while (search.isOpen())
        search.narrowToKeys(lookAround(panel.rows, search.pivots(), keysAt));
    return search.keys();
}

std::uint64_t columnRanks(const float* panel, std::ptrdiff_t stride, int columns, int rows, int rank,
                          std::int32_t* keys, float* values) noexcept {
    const int vectors = columns / kLanes;
    const std::ptrdiff_t vectorKeys = static_cast<std::ptrdiff_t>(rows) * kLanes;
    KeyRange ranges[kPanelVectors];
    for (int y = 0; y < rows; ++y) {
        for (int v = 0; v < vectors; ++v) {
            fetchFrom(panel + y * stride + v * kLanes, 24 * stride * static_cast<std::ptrdiff_t>(sizeof *panel));
            const Ints key = keysOf(loadInts(panel + y * stride + v * kLanes));
            store(keys + v * vectorKeys + static_cast<std::ptrdiff_t>(y) * kLanes, key);
            ranges[v].add(key);
        }
    }
    std::uint64_t irregular = 0;
    for (int v = 0; v < vectors; ++v) {
        const KeyRange& range = ranges[v];
        const Ints found = keysOfRank({keys + v * vectorKeys, rows}, range, rank);
        for (int lane = 0; lane < kLanes; ++lane) {
            const int column = v * kLanes + lane;
            const bool regular = isRegular(range.lowest[lane], range.highest[lane], range.minusZeros[lane]);
            irregular |= static_cast<std::uint64_t>(!regular) << column;
            values[column] = valueOf(found[lane]);
        }
    }
    return irregular;
}

std::size_t smaller(std::size_t a, std::size_t b) {
    return a < b ? a : b;
}

// Pixels with the sign bit turned over, which keeps their order as signed values.
Shorts signedPixels(const std::uint16_t* pixels) {
    return loadShorts(pixels) ^ kSignBit;
}

int sumOfCounts(Shorts counts) {
    return sumOfLanes(Ints(sumOfProductPairs(counts, Shorts{} + 1)));
}

std::size_t countPixelsBelow(const std::uint16_t* pixels, std::size_t count, int limit) {
    // So many vectors are counted in a signed lane.
    constexpr std::size_t kBlock = 16384 * static_cast<std::size_t>(kShortLanes);
    const Shorts limits = Shorts{} + static_cast<std::int16_t>(limit + kSignBit);
    const std::size_t whole = count - count % (2 * kShortLanes);
    std::size_t total = 0;
    for (std::size_t start = 0; start < whole; start += kBlock) {
        const std::size_t end = smaller(start + kBlock, whole);
        Shorts even{};
        Shorts odd{};
        for (std::size_t i = start; i < end; i += 2 * kShortLanes) {
            even = countLess(even, signedPixels(pixels + i), limits);
            odd = countLess(odd, signedPixels(pixels + i + kShortLanes), limits);
        }
        total += static_cast<std::size_t>(sumOfCounts(even + odd));
    }
    for (std::size_t i = whole; i < count; ++i)
        total += pixels[i] < limit;
    return total;
}

// Of signed pixels.
class ShortRange {
public:
    void add(Shorts values) {
        lowest_ = values < lowest_ ? values : lowest_;
        highest_ = values > highest_ ? values : highest_;
    }

    int lowest() const {
        const auto [even, odd] = halves(lowest_);
        return smallestLane(even < odd ? even : odd);
    }
    int highest() const {
        const auto [even, odd] = halves(highest_);
        return largestLane(even > odd ? even : odd);
    }

private:
    struct Halves {
        Ints even;
        Ints odd;
    };
    static Halves halves(Shorts v) { return {(Ints(v) << 16) >> 16, Ints(v) >> 16}; }

    Shorts lowest_ = Shorts{} + 32767;
    Shorts highest_ = Shorts{} + kSignBit;
};

struct PixelRange {
    int lowest;
    int highest;
};

PixelRange rangeOf(const std::uint16_t* pixels, std::size_t count) {
    ShortRange vectors;
    std::size_t i = 0;
    for (; i + kShortLanes <= count; i += kShortLanes)
        vectors.add(signedPixels(pixels + i));
    PixelRange range{65535, 0};
    if (i > 0)
        range = {vectors.lowest() - kSignBit, vectors.highest() - kSignBit};
    for (; i < count; ++i) {
        range.lowest = pixels[i] < range.lowest ? pixels[i] : range.lowest;
        range.highest = pixels[i] > range.highest ? pixels[i] : range.highest;
    }
    return range;
}

std::uint16_t pixelBlockRank(const std::uint16_t* block, std::ptrdiff_t stride, int rank) noexcept {
    constexpr int kRowVectors = kGridBlockSide / kShortLanes;
    constexpr int kVectors = kGridBlockSide * kRowVectors;
    constexpr int kRowsAtOnce = 16;
    Shorts keys[kVectors];
    ShortRange range;
    for (int row = 0; row < kGridBlockSide; ++row) {
        for (int v = 0; v < kRowVectors; ++v) {
            const Shorts key = signedPixels(block + row * stride + v * kShortLanes);
            keys[row * kRowVectors + v] = key;
            range.add(key);
        }
    }
    RowsAhead ahead(block, stride, kGridBlockSide);
    RankSearch search(range.lowest(), range.highest(), kGridBlockSide * kGridBlockSide, rank);
    while (search.isOpen()) {
        ahead.fetch(kRowsAtOnce);
        const int limit = static_cast<int>(search.pivot());
        const Shorts limits = Shorts{} + static_cast<std::int16_t>(limit);
        Shorts even{};
        Shorts odd{};
        for (int i = 0; i < kVectors; i += 2) {
            even = countLess(even, keys[i], limits);
            odd = countLess(odd, keys[i + 1], limits);
        }
        search.narrow(sumOfCounts(even + odd), limit - 1, limit);
    }
    return static_cast<std::uint16_t>(search.key() - kSignBit);
}

std::uint16_t pixelRank(const std::uint16_t* pixels, std::size_t count, std::size_t rank) noexcept {
    const PixelRange range = rangeOf(pixels, count);
    RankSearch search(range.lowest, range.highest, static_cast<int>(count), static_cast<int>(rank));
    while (search.isOpen()) {
        const int limit = static_cast<int>(search.pivot());
        search.narrow(static_cast<int>(countPixelsBelow(pixels, count, limit)), limit - 1, limit);
    }
    return static_cast<std::uint16_t>(search.key());
}

}  // namespace

QX_TABLE_OF_LEVEL(RankKernels) = {blockRank, columnRanks, pixelRank, pixelBlockRank};

}  // namespace qx
