// Compiled once a vector level, with QX_LEVEL naming it. Shares no inline function with sources of another level.

#include "numerics/FloatKernels.h"
#include "numerics/RankSearch.h"
#include "numerics/VectorLanes.h"

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

constexpr int kCacheLineFloats = kCacheLineBytes / sizeof(float);

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

// RankSearch in every lane at once, in offsets from the lane's lowest key.
class LaneSearch {
public:
    LaneSearch(const KeyRange& range, int count, int rank)
        : lowest_(range.lowest), high_(Uints(range.highest) - Uints(range.lowest)), rank_(rank), pivot_(halfOf(high_)),
          spacing_(toFloats(Ints(pivot_)) * (2.0f * kSpacingOfMiddle / static_cast<float>(count))) {}

    bool isOpen() const { return anyLane(Ints(low_ != high_)); }
    Ints keys() const { return Ints(Uints(lowest_) + low_); }
    Ints pivots() const { return Ints(Uints(lowest_) + pivot_); }

    void narrow(const Around& around) {
        const Uints next = Uints(around.next) - Uints(lowest_);
        const Uints previous = Uints(around.previous) - Uints(lowest_);
        narrowTo(around.below, previous, next);
        high_ = around.below == rank_ ? next : high_;
        low_ = around.below == rank_ + 1 ? previous : low_;
        pivot_ = nextPivots(around.below);
    }

    // By counts alone. Lanes that meet the rank keep their pivots; false when all of them do.
    bool narrow(Ints below) {
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
        open = search.narrow(countBelow(panel.rows, search.pivots(), keysAt));
    while (search.isOpen())
        search.narrow(lookAround(panel.rows, search.pivots(), keysAt));
    return search.keys();
}

std::uint64_t columnRanks(const float* panel, std::ptrdiff_t stride, int columns, int rows, int rank,
                          std::int32_t* keys, float* values) noexcept {
    const int vectors = columns / kLanes;
    const std::ptrdiff_t vectorKeys = static_cast<std::ptrdiff_t>(rows) * kLanes;
    KeyRange ranges[kPanelVectors];
    for (int y = 0; y < rows; ++y) {
        for (int v = 0; v < vectors; ++v) {
            const Ints key = keysOf(loadInts(panel + y * stride + v * kLanes));
            storeInts(keys + v * vectorKeys + static_cast<std::ptrdiff_t>(y) * kLanes, key);
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

constexpr int kPieceShorts = 8;

// kLanes rows of kLanes values become columns.
void transposeFloats(const float* first, std::ptrdiff_t stride, Floats* columns) {
    Floats rows[kLanes];
    for (int i = 0; i < kLanes; ++i)
        rows[i] = loadFloats(first + i * stride);
    transposeLanes(rows, columns);
}

// Rows whose sums are in flight: kLanes a vector.
constexpr int kRowGroups = kLanes < 16 ? 2 : 1;
constexpr int kRowsInFlight = kRowGroups * kLanes;

// The processor does not follow so many rows at a time.
void fetchRows(const float* first, std::ptrdiff_t stride) {
    constexpr int kAhead = 128;
    for (int row = 0; row < kLanes; ++row)
        __builtin_prefetch(first + row * stride + kAhead);
}

void sumRowGroups(const float* image, std::ptrdiff_t stride, int columns, float* sums) {
    Floats running[kRowGroups] = {};
    int x = 0;
    for (; x + kLanes <= columns; x += kLanes) {
        for (int group = 0; group < kRowGroups; ++group) {
            fetchRows(image + group * kLanes * stride + x, stride);
            Floats ofColumns[kLanes];
            transposeFloats(image + group * kLanes * stride + x, stride, ofColumns);
            for (const Floats& column : ofColumns)
                running[group] += column;
        }
    }
    for (int group = 0; group < kRowGroups; ++group) {
        for (int lane = 0; lane < kLanes; ++lane) {
            const int row = group * kLanes + lane;
            float sum = running[group][lane];
            for (int rest = x; rest < columns; ++rest)
                sum += image[row * stride + rest];
            sums[row] = sum;
        }
    }
}

void rowSums(const float* image, std::ptrdiff_t stride, int rows, int columns, float* sums) noexcept {
    int y = 0;
    for (; y + kRowsInFlight <= rows; y += kRowsInFlight)
        sumRowGroups(image + y * stride, stride, columns, sums + y);
    for (; y < rows; ++y) {
        float sum = 0.0f;
        for (int x = 0; x < columns; ++x)
            sum += image[y * stride + x];
        sums[y] = sum;
    }
}

// Strips in flight: eight a piece.
constexpr int kStripsInFlight = kPieces * kPieceShorts;

// Eight columns of kStripsInFlight strips; in[i] holds those of the strips i, i + 8, ...
void transposeShorts(const Bits* in, Bits* columns) {
    Bits pairs[kPieceShorts];
    for (int i = 0; i < 4; ++i) {
        pairs[i] = QX_WIDE(unpacklo_epi16)(in[2 * i], in[2 * i + 1]);
        pairs[i + 4] = QX_WIDE(unpackhi_epi16)(in[2 * i], in[2 * i + 1]);
    }
    for (int half = 0; half < 2; ++half) {
        const Bits* const p = pairs + 4 * half;
        const Bits a = QX_WIDE(unpacklo_epi32)(p[0], p[1]);
        const Bits b = QX_WIDE(unpackhi_epi32)(p[0], p[1]);
        const Bits c = QX_WIDE(unpacklo_epi32)(p[2], p[3]);
        const Bits d = QX_WIDE(unpackhi_epi32)(p[2], p[3]);
        columns[4 * half] = QX_WIDE(unpacklo_epi64)(a, c);
        columns[4 * half + 1] = QX_WIDE(unpackhi_epi64)(a, c);
        columns[4 * half + 2] = QX_WIDE(unpacklo_epi64)(b, d);
        columns[4 * half + 3] = QX_WIDE(unpackhi_epi64)(b, d);
    }
}

// Running sums of kStripsInFlight strips: of every piece's first and last four.
struct StripGroup {
    Floats low{};
    Floats high{};

    void addRow(const std::uint16_t* row) {
        constexpr auto kPieceStride = static_cast<std::ptrdiff_t>(kPieceShorts * kStripColumns * sizeof(std::uint16_t));
        const Bits zero{};
        // Members would be written back after every addition.
        Floats runningLow = low;
        Floats runningHigh = high;
        for (int x = 0; x < kStripColumns; x += kPieceShorts) {
            Bits in[kPieceShorts];
            for (int i = 0; i < kPieceShorts; ++i)
                in[i] = loadPieces(row + i * kStripColumns + x, kPieceStride);
            Bits columns[kPieceShorts];
            transposeShorts(in, columns);
            for (const Bits& column : columns) {
                runningLow += toFloats(Ints(QX_WIDE(unpacklo_epi16)(column, zero)));
                runningHigh += toFloats(Ints(QX_WIDE(unpackhi_epi16)(column, zero)));
            }
        }
        low = runningLow;
        high = runningHigh;
    }

    float sum(int strip) const {
        const int lane = strip / kPieceShorts * kPieceFloats + strip % kPieceFloats;
        return strip % kPieceShorts < kPieceFloats ? low[lane] : high[lane];
    }
};

// Groups of strips, `count` of them from these first ones on, all rows; neighbouring groups may overlap.
constexpr int kGroupsAtOnce = 16;

void sumStripGroups(const std::uint16_t* image, std::ptrdiff_t stride, int rows, const int* firsts, int count,
                    float* sums) {
    StripGroup running[kGroupsAtOnce];
    for (int y = 0; y < rows; ++y)
        for (int group = 0; group < count; ++group)
            running[group].addRow(image + y * stride + firsts[group] * kStripColumns);
    for (int group = 0; group < count; ++group)
        for (int i = 0; i < kStripsInFlight; ++i)
            sums[firsts[group] + i] = running[group].sum(i);
}

// Fewer strips than a group holds: their rows are copied next to empty ones.
void sumFewStrips(const std::uint16_t* image, std::ptrdiff_t stride, int rows, int strips, float* sums) {
    std::uint16_t row[kStripsInFlight * kStripColumns] = {};
    StripGroup running;
    for (int y = 0; y < rows; ++y) {
        __builtin_memcpy(row, image + y * stride, static_cast<std::size_t>(strips) * kStripColumns * sizeof *row);
        running.addRow(row);
    }
    for (int i = 0; i < strips; ++i)
        sums[i] = running.sum(i);
}

void stripSums(const std::uint16_t* image, std::ptrdiff_t stride, int rows, int strips, float* sums) noexcept {
    if (strips < kStripsInFlight)
        return sumFewStrips(image, stride, rows, strips, sums);
    int firsts[kGroupsAtOnce];
    int count = 0;
    for (int strip = 0; strip < strips; strip += kStripsInFlight) {
        firsts[count++] = strip + kStripsInFlight <= strips ? strip : strips - kStripsInFlight;
        if (count == kGroupsAtOnce || strip + kStripsInFlight >= strips) {
            sumStripGroups(image, stride, rows, firsts, count, sums);
            count = 0;
        }
    }
}

void raiseEach(float* row, int count, float floor) {
    for (int x = 0; x < count; ++x)
        if (row[x] <= 0.0f)
            row[x] = floor;
}

void raise(float* row, int count, float floor) noexcept {
    auto x = static_cast<int>(valuesBeforeLine(row, static_cast<std::size_t>(count)));
    raiseEach(row, x, floor);
    for (; x <= count - kCacheLineFloats; x += kCacheLineFloats) {
        fetchAhead(row + x);
        Ints low{};
        for (int i = 0; i < kCacheLineFloats; i += kLanes)
            low |= loadFloats(row + x + i) <= 0.0f;
        if (anyLane(low))
            raiseEach(row + x, kCacheLineFloats, floor);
    }
    raiseEach(row + x, count - x, floor);
}

void add(const float* row, int count, float* sums) noexcept {
    for (int x = 0; x < count; ++x)
        sums[x] += row[x];
}

void addMultiple(const float* __restrict x, int count, float factor, float* __restrict sums) noexcept {
    for (int i = 0; i < count; ++i)
        sums[i] += factor * x[i];
}

void rotate(float* __restrict x, float* __restrict z, int count, float c, float s) noexcept {
    for (int i = 0; i < count; ++i) {
        const float first = x[i];
        x[i] = first * c + z[i] * s;
        z[i] = z[i] * c - first * s;
    }
}

Doubles loadDoubles(const double* values) {
    return Doubles(loadInts(values));
}

template <int vectors>
void productsFrom(const double* factors, int rows, const double* columns, std::ptrdiff_t stride, double* sums) {
    Doubles running[vectors] = {};
    for (int r = 0; r < rows; ++r)
        for (int v = 0; v < vectors; ++v)
            running[v] += factors[r] * loadDoubles(columns + r * stride + v * (kLanes / 2));
    for (int v = 0; v < vectors; ++v)
        storeInts(sums + v * (kLanes / 2), Ints(running[v]));
}

void columnProducts(const double* factors, int rows, const double* columns, std::ptrdiff_t stride, int count,
                    double* sums) noexcept {
    constexpr int kVectorsAtOnce = 4;
    constexpr int kDoubles = kLanes / 2;
    int i = 0;
    for (; i <= count - kVectorsAtOnce * kDoubles; i += kVectorsAtOnce * kDoubles)
        productsFrom<kVectorsAtOnce>(factors, rows, columns + i, stride, sums + i);
    for (; i <= count - kDoubles; i += kDoubles)
        productsFrom<1>(factors, rows, columns + i, stride, sums + i);
    for (; i < count; ++i) {
        double sum = 0.0;
        for (int r = 0; r < rows; ++r)
            sum += factors[r] * columns[r * stride + i];
        sums[i] = sum;
    }
}

void scaleEachBelow(float* row, int count, const float* factors, float limit) {
    for (int x = 0; x < count; ++x)
        row[x] = row[x] < limit ? row[x] * factors[x] : row[x];
}

void scaleBelow(float* row, int count, const float* factors, float limit) noexcept {
    auto x = static_cast<int>(valuesBeforeLine(row, static_cast<std::size_t>(count)));
    scaleEachBelow(row, x, factors, limit);
    for (; x <= count - kCacheLineFloats; x += kCacheLineFloats) {
        fetchAhead(row + x);
        for (int i = x; i < x + kCacheLineFloats; i += kLanes) {
            const Floats values = loadFloats(row + i);
            storeInts(row + i, Ints(values < limit ? values * loadFloats(factors + i) : values));
        }
    }
    scaleEachBelow(row + x, count - x, factors + x, limit);
}

}  // namespace

const FloatKernels QX_OF_LEVEL(kFloatKernels, QX_LEVEL) = {blockRank, columnRanks, rowSums, stripSums,      raise,
                                                           add,       addMultiple, rotate,  columnProducts, scaleBelow};

}  // namespace qx
