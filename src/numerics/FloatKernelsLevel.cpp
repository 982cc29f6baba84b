// Compiled once a vector level, with QX_LEVEL naming it. Shares no inline function with sources of another level.

#include "numerics/FloatKernels.h"
#include "numerics/VectorLanes.h"

#define QX_JOIN(a, b) a##b
#define QX_TABLE(level) QX_JOIN(kFloatKernels, level)

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
    Ints differences{};  // bits in which keys differ from the first one

    void add(Ints keys, Ints first) {
        lowest = smallerOf(lowest, keys);
        highest = largerOf(highest, keys);
        minusZeros |= keys == kMinusZero;
        differences |= keys ^ first;
    }
};

// Whether the order of the values decides: there is neither a NaN nor a negative zero.
bool isRegular(std::int32_t lowest, std::int32_t highest, std::int32_t minusZeros) {
    return minusZeros == 0 && lowest >= kMinusInfinity && highest <= kInfinity;
}

std::uint32_t distance(std::int32_t from, std::int32_t to) {
    return static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from);
}

std::int32_t advanced(std::int32_t key, std::uint32_t distance) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(key) + distance);
}

int bitsOf(std::uint32_t value) {
    return value == 0 ? 0 : 32 - __builtin_clz(value);
}

int trailingZeros(std::int32_t value) {
    return value == 0 ? 32 : __builtin_ctz(static_cast<std::uint32_t>(value));
}

constexpr int kCacheLineFloats = 16;

// Rows that will be wanted next: fetched a few at a time while something else is computed, as the processor does not
// foresee short rows far apart.
struct RowsAhead {
    const float* next;
    std::ptrdiff_t stride;
    int left;

    void fetch(int rows, int columns) {
        for (; rows > 0 && left > 0; --rows, --left, next += stride)
            for (int x = 0; x < columns; x += kCacheLineFloats)
                __builtin_prefetch(next + x);
    }
};

constexpr int kBlockVectors = kBlockSide * kBlockSide / kLanes;

int countBelow(const Ints* keys, std::int32_t pivot) {
    const Ints pivots = Ints{} + pivot;
    Ints even{};
    Ints odd{};
    for (int i = 0; i < kBlockVectors; i += 2) {
        even = countLess(even, keys[i], pivots);
        odd = countLess(odd, keys[i + 1], pivots);
    }
    return sumOfLanes(even + odd);
}

std::int32_t largestUpTo(const Ints* keys, std::int32_t limit) {
    Ints largest = Ints{} + kLowestKey;
    for (int i = 0; i < kBlockVectors; ++i)
        largest = largerOf(largest, keys[i] > limit ? Ints{} + kLowestKey : keys[i]);
    return largestLane(largest);
}

// The key of a rank, found bit by bit between the lowest and the highest one. Ends early when one key is left between
// the bounds.
std::int32_t keyOfRank(const Ints* keys, std::int32_t lowest, std::int32_t highest, int lastBit, int rank,
                       RowsAhead& ahead) {
    constexpr int kRowsAtOnce = 4;
    const std::uint32_t width = distance(lowest, highest);
    std::uint32_t offset = 0;
    std::int32_t upper = highest;
    int below = 0;
    int upTo = kBlockSide * kBlockSide;
    for (int bit = bitsOf(width) - 1; bit >= lastBit && upTo - below > 1; --bit) {
        const std::uint32_t trial = offset | (std::uint32_t{1} << bit);
        if (trial > width)
            continue;
        const std::int32_t pivot = advanced(lowest, trial);
        ahead.fetch(kRowsAtOnce, kBlockSide);
        const int count = countBelow(keys, pivot);
        if (count <= rank) {
            offset = trial;
            below = count;
        } else {
            upper = pivot - 1;
            upTo = count;
        }
    }
    return largestUpTo(keys, upper);
}

bool blockRank(const float* block, std::ptrdiff_t stride, int rank, float* value) noexcept {
    constexpr int kRowVectors = kBlockSide / kLanes;
    Ints keys[kBlockVectors];
    const Ints first = keysOf(Ints{} + loadInts(block)[0]);
    KeyRange range;
    for (int row = 0; row < kBlockSide; ++row) {
        for (int v = 0; v < kRowVectors; ++v) {
            const Ints key = keysOf(loadInts(block + row * stride + v * kLanes));
            keys[row * kRowVectors + v] = key;
            range.add(key, first);
        }
    }
    const std::int32_t lowest = smallestLane(range.lowest);
    const std::int32_t highest = largestLane(range.highest);
    if (!isRegular(lowest, highest, bitsOfLanes(range.minusZeros)))
        return false;
    RowsAhead ahead{block + kBlockSide, stride, kBlockSide};
    *value = valueOf(keyOfRank(keys, lowest, highest, trailingZeros(bitsOfLanes(range.differences)), rank, ahead));
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

struct PanelSearch {
    Uints offset{};
    Ints upper;
    Ints below{};
    Ints upTo;
};

void narrow(const Panel& panel, const KeyRange& range, int bit, int rank, PanelSearch& search) {
    const Uints width = Uints(range.highest) - Uints(range.lowest);
    const Uints trial = search.offset | (Uints{} + (std::uint32_t{1} << bit));
    const Ints pivots = Ints(Uints(range.lowest) + trial);
    Ints even{};
    Ints odd{};
    int y = 0;
    for (; y + 2 <= panel.rows; y += 2) {
        even = countLess(even, panel.row(y), pivots);
        odd = countLess(odd, panel.row(y + 1), pivots);
    }
    if (y < panel.rows)
        even = countLess(even, panel.row(y), pivots);
    const Ints count = even + odd;
    const Ints possible = trial <= width;
    const Ints taken = possible & (count <= rank);
    const Ints refused = possible & (count > rank);
    search.offset = taken ? trial : search.offset;
    search.below = taken ? count : search.below;
    search.upper = refused ? pivots - 1 : search.upper;
    search.upTo = refused ? count : search.upTo;
}

// Whether a lane still has more than one key between its bounds.
bool anyLaneOpen(const PanelSearch& search) {
    return anyLane(search.upTo - search.below > 1);
}

Ints largestUpTo(const Panel& panel, Ints limits) {
    Ints largest = Ints{} + kLowestKey;
    for (int y = 0; y < panel.rows; ++y) {
        const Ints keys = panel.row(y);
        largest = largerOf(largest, keys > limits ? Ints{} + kLowestKey : keys);
    }
    return largest;
}

Ints keysOfRank(const Panel& panel, const KeyRange& range, int rank) {
    // The highest bit of the widest range is also that of all ranges together.
    const auto widths = static_cast<std::uint32_t>(bitsOfLanes(Ints(Uints(range.highest) - Uints(range.lowest))));
    PanelSearch search;
    search.upper = range.highest;
    search.upTo = Ints{} + panel.rows;
    const int lastBit = trailingZeros(bitsOfLanes(range.differences));
    for (int bit = bitsOf(widths) - 1; bit >= lastBit && anyLaneOpen(search); --bit)
        narrow(panel, range, bit, rank, search);
    return largestUpTo(panel, search.upper);
}

std::uint64_t columnRanks(const float* panel, std::ptrdiff_t stride, int columns, int rows, int rank,
                          std::int32_t* keys, float* values) noexcept {
    const int vectors = columns / kLanes;
    const std::ptrdiff_t vectorKeys = static_cast<std::ptrdiff_t>(rows) * kLanes;
    KeyRange ranges[kPanelVectors];
    Ints first[kPanelVectors];
    for (int v = 0; v < vectors; ++v)
        first[v] = keysOf(loadInts(panel + v * kLanes));
    for (int y = 0; y < rows; ++y) {
        for (int v = 0; v < vectors; ++v) {
            const Ints key = keysOf(loadInts(panel + y * stride + v * kLanes));
            storeInts(keys + v * vectorKeys + static_cast<std::ptrdiff_t>(y) * kLanes, key);
            ranges[v].add(key, first[v]);
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

constexpr int kPieceFloats = 4;
constexpr int kPieceShorts = 8;

Bits loadBits(const void* values) {
    return Bits(loadInts(values));
}

// kLanes rows of kLanes values become columns.
void transposeFloats(const float* first, std::ptrdiff_t stride, Floats* columns) {
    // quads[c][q]: columns c, c + 4, ... of the rows 4 q .. 4 q + 3.
    Bits quads[kPieceFloats][kPieces];
    for (int q = 0; q < kPieces; ++q) {
        const float* const rows = first + q * kPieceFloats * stride;
        const Bits in[] = {loadBits(rows), loadBits(rows + stride), loadBits(rows + 2 * stride),
                           loadBits(rows + 3 * stride)};
        const Bits a = QX_WIDE(unpacklo_epi32)(in[0], in[1]);
        const Bits b = QX_WIDE(unpackhi_epi32)(in[0], in[1]);
        const Bits c = QX_WIDE(unpacklo_epi32)(in[2], in[3]);
        const Bits d = QX_WIDE(unpackhi_epi32)(in[2], in[3]);
        quads[0][q] = QX_WIDE(unpacklo_epi64)(a, c);
        quads[1][q] = QX_WIDE(unpackhi_epi64)(a, c);
        quads[2][q] = QX_WIDE(unpacklo_epi64)(b, d);
        quads[3][q] = QX_WIDE(unpackhi_epi64)(b, d);
    }
    for (int c = 0; c < kPieceFloats; ++c) {
        transposePieces(quads[c]);
        for (int q = 0; q < kPieces; ++q)
            columns[q * kPieceFloats + c] = Floats(quads[c][q]);
    }
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

void raise(float* row, int count, float floor) noexcept {
    int x = 0;
    for (; x + kLanes <= count; x += kLanes) {
        const Floats values = loadFloats(row + x);
        const Ints low = values <= 0.0f;
        if (anyLane(low))
            storeInts(row + x, Ints(low ? Floats{} + floor : values));
    }
    for (; x < count; ++x)
        if (row[x] <= 0.0f)
            row[x] = floor;
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

void scaleBelow(float* row, int count, const float* factors, float limit) noexcept {
    for (int x = 0; x < count; ++x)
        row[x] = row[x] < limit ? row[x] * factors[x] : row[x];
}

}  // namespace

const FloatKernels QX_TABLE(QX_LEVEL) = {blockRank, columnRanks, rowSums, stripSums, raise,
                                         add,       addMultiple, rotate,  scaleBelow};

}  // namespace qx
