#include "kernels/ColumnKernels.h"
#include "kernels/levels/VectorLanes.h"

// A sorted sample of a column brackets the sought value. Every value becomes a code of 8 bits, its place in the bracket
// or beyond an end; as the map keeps the order, the code of the rank is found by counting codes, with a quarter of the
// memory. The few values that share it are sorted.

namespace qx {
namespace {

constexpr int kSample = 64;
constexpr int kFirstCode = -127;  // of the bracket's lower end
constexpr int kLastCode = 127;    // of the upper end, and of all above
constexpr int kLowestCode = -128;

// Four standard deviations of a median's place in the sample, nearly.
constexpr int kBracketSide = 14;

// So many values that share a code are sorted.
constexpr int kSlots = 32;

constexpr int kCodeVectors = kPanelColumns / kVectorBytes;
constexpr int kPanelVectors = kPanelColumns / kLanes;

// The exchanges of Batcher's merge sort.
template <int kCount>
struct Exchanges {
    std::uint8_t lower[600];
    std::uint8_t upper[600];
    int count = 0;

    constexpr Exchanges() : lower{}, upper{} {
        for (int run = 1; run < kCount; run *= 2)
            for (int step = run; step >= 1; step /= 2)
                for (int first = step % run; first + step < kCount; first += 2 * step)
                    for (int i = first; i < first + step && i + step < kCount; ++i)
                        if (i / (2 * run) == (i + step) / (2 * run))
                            add(i, i + step);
    }

private:
    constexpr void add(int a, int b) {
        lower[count] = static_cast<std::uint8_t>(a);
        upper[count] = static_cast<std::uint8_t>(b);
        ++count;
    }
};

// Sorts lane by lane.
template <int kCount>
void sort(Floats* values) {
    static constexpr Exchanges<kCount> exchanges;
    for (int i = 0; i < exchanges.count; ++i) {
        Floats& lower = values[exchanges.lower[i]];
        Floats& upper = values[exchanges.upper[i]];
        const Floats smaller = smallerOf(lower, upper);
        upper = largerOf(lower, upper);
        lower = smaller;
    }
}

// The lower ends of brackets, and codes over values.
struct Brackets {
    float lower[kSampledPanels * kPanelColumns];
    float scale[kSampledPanels * kPanelColumns];
};

// A bit for each lane that is not 0.
std::uint64_t bitsOf(Ints lanes) {
    std::int32_t values[kLanes];
    store(values, lanes);
    std::uint64_t bits = 0;
    for (int lane = 0; lane < kLanes; ++lane)
        bits |= static_cast<std::uint64_t>(values[lane] != 0) << lane;
    return bits;
}

// One row of each of kSample equal parts, in different places of them, as rows may repeat themselves.
int sampledRow(int part, int rows) {
    constexpr std::uint32_t kGoldenShare = 40503;  // of 2^16
    const std::int64_t place = static_cast<std::uint32_t>(part) * kGoldenShare % 65536;
    return static_cast<int>((part * std::int64_t{65536} + place) * rows / (kSample * std::int64_t{65536}));
}

// What the samples of columns tell.
struct Samples {
    std::uint64_t empty;  // a bit for each lane whose bracket is empty, or no bracket
    int ties;             // values like the middle ones of their columns, these included
};

Samples takeSamples(const float* columns, std::ptrdiff_t stride, int rows, int rank, float* lower, float* scale) {
    constexpr float kMostCodes = 1e30f;
    Floats sample[kSample];
    for (int i = 0; i < kSample; ++i)
        sample[i] = loadFloats(columns + sampledRow(i, rows) * stride);
    sort<kSample>(sample);
    const int middle = static_cast<int>(std::int64_t{rank} * kSample / rows);
    const int first = middle < kBracketSide ? 0 : middle - kBracketSide;
    const int last = middle + kBracketSide < kSample ? middle + kBracketSide : kSample - 1;
    const Floats width = sample[last] - sample[first];
    const Floats codes = (Floats{} + (kLastCode - kFirstCode)) / width;
    store(lower, sample[first]);
    store(scale, smallerOf(codes, Floats{} + kMostCodes));
    Ints ties{};
    for (int i = first; i <= last; ++i)
        ties -= sample[i] == sample[middle];
    return {bitsOf(~(width > 0.0f)), sumOfLanes(ties)};
}

// What the values of a column are besides numbers, lane by lane.
struct Oddities {
    Floats notFinite{};  // not a number where there are such
    Ints minusZeros{};

    void add(Floats values) {
        notFinite += values * 0.0f;
        minusZeros |= Ints(values) == kLowestInt;
    }
    std::uint64_t bits() const { return bitsOf(minusZeros | (notFinite != notFinite)); }

    static constexpr std::int32_t kLowestInt = -2147483647 - 1;
};

// Codes of panels, one panel after the other; odd receives a bit for each column that holds more than finite numbers.
template <int kPanels>
void encode(const float* columns, std::ptrdiff_t stride, int rows, const Brackets& brackets, std::int8_t* codes,
            std::uint64_t* odd) {
    constexpr int kRowsAhead = 8;
    Oddities oddities[kPanels * kPanelVectors];
    const std::ptrdiff_t panelCodes = static_cast<std::ptrdiff_t>(rows) * kPanelColumns;
    for (int y = 0; y < rows; ++y) {
        const float* const row = columns + y * stride;
        for (int x = 0; x < kPanels * kPanelColumns; x += 4 * kLanes) {
            Ints four[4];
            for (int i = 0; i < 4; ++i) {
                const int at = x + i * kLanes;
                if (at % (kCacheLineBytes / 4) == 0)
                    fetchFrom(row + at, kRowsAhead * stride * static_cast<std::ptrdiff_t>(sizeof(float)));
                const Floats values = loadFloats(row + at);
                oddities[at / kLanes].add(values);
                const Floats places = (values - loadFloats(brackets.lower + at)) * loadFloats(brackets.scale + at);
                four[i] = closeInts(smallerOf(places + kFirstCode, Floats{} + kLastCode));
            }
            storeBytes(codes + x / kPanelColumns * panelCodes + y * kPanelColumns + x % kPanelColumns, four);
        }
    }
    for (int v = 0; v < kPanels * kPanelVectors; ++v)
        odd[v / kPanelVectors] |= oddities[v].bits() << (v % kPanelVectors * kLanes);
}

// What is known of the code that has the rank, column by column.
struct FoundCodes {
    std::int8_t code[kPanelColumns];
    int below[kPanelColumns];  // count of lower codes
    int upTo[kPanelColumns];   // count of these and of the code
};

constexpr int kDigits = 3;  // besides 0
using DigitCounts = std::int32_t[kDigits][kPanelColumns];

// Counts the codes that are below code + step, code + 2 step and code + 3 step.
void countDigits(const std::int8_t* codes, int rows, const std::int8_t* code, int step, DigitCounts& counts) {
    constexpr int kMostInByte = 255;
    for (int v = 0; v < kCodeVectors; ++v) {
        Bytes limits[kDigits];
        for (int d = 0; d < kDigits; ++d)
            limits[d] =
                Bytes(UnsignedBytes(loadBytes(code + v * kVectorBytes)) + static_cast<std::uint8_t>(step * (d + 1)));
        for (int start = 0; start < rows; start += kMostInByte) {
            const int end = rows - start < kMostInByte ? rows : start + kMostInByte;
            Bytes below[kDigits]{};
            for (int y = start; y < end; ++y) {
                const Bytes row = loadBytes(codes + static_cast<std::ptrdiff_t>(y) * kPanelColumns + v * kVectorBytes);
                for (int d = 0; d < kDigits; ++d)
                    below[d] = countLess(below[d], row, limits[d]);
            }
            for (int d = 0; d < kDigits; ++d)
                for (int lane = 0; lane < kVectorBytes; ++lane)
                    counts[d][v * kVectorBytes + lane] += static_cast<std::uint8_t>(below[d][lane]);
        }
    }
}

// The code of the rank in each column: four digits to the base 4, the highest first.
void findCodes(const std::int8_t* codes, int rows, int rank, FoundCodes& found) {
    for (int c = 0; c < kPanelColumns; ++c) {
        found.code[c] = kLowestCode;
        found.below[c] = 0;
        found.upTo[c] = rows;
    }
    for (int step = 64; step >= 1; step /= 4) {
        DigitCounts counts{};
        countDigits(codes, rows, found.code, step, counts);
        for (int c = 0; c < kPanelColumns; ++c) {
            int digit = 0;
            while (digit < kDigits && counts[digit][c] <= rank)
                found.below[c] = counts[digit++][c];
            found.upTo[c] = digit < kDigits ? counts[digit][c] : found.upTo[c];
            found.code[c] = static_cast<std::int8_t>(found.code[c] + step * digit);
        }
    }
}

// Calls visit(row, column) for the values that share the found code of one of the columns.
template <class Visit>
void visitShared(const std::int8_t* codes, int rows, const std::int8_t* found, std::uint64_t columns, Visit visit) {
    Bytes wanted[kCodeVectors];
    for (int v = 0; v < kCodeVectors; ++v)
        wanted[v] = loadBytes(found + v * kVectorBytes);
    for (int y = 0; y < rows; ++y) {
        std::uint64_t shared = 0;
        for (int v = 0; v < kCodeVectors; ++v) {
            const Bytes row = loadBytes(codes + static_cast<std::ptrdiff_t>(y) * kPanelColumns + v * kVectorBytes);
            shared |= bitsOfEqual(row, wanted[v]) << (v * kVectorBytes % kPanelColumns);
        }
        for (shared &= columns; shared != 0; shared &= shared - 1)
            visit(y, __builtin_ctzll(shared));
    }
}

// Sorts the values that share the found codes and takes those of the rank.
void pickValues(const float* panel, std::ptrdiff_t stride, const std::int8_t* codes, int rows, int rank,
                const FoundCodes& found, std::uint64_t columns, float* values) {
    constexpr float kInfinity = __builtin_huge_valf();
    float slots[kSlots][kPanelColumns];
    int used[kPanelColumns]{};
    for (auto& slot : slots)
        for (float& value : slot)
            value = kInfinity;
    visitShared(codes, rows, found.code, columns, [&](int y, int c) { slots[used[c]++][c] = panel[y * stride + c]; });
    for (int x = 0; x < kPanelColumns; x += kLanes) {
        Floats sorted[kSlots];
        for (int s = 0; s < kSlots; ++s)
            sorted[s] = loadFloats(&slots[s][x]);
        sort<kSlots>(sorted);
        for (int s = 0; s < kSlots; ++s)
            store(&slots[s][x], sorted[s]);
    }
    for (; columns != 0; columns &= columns - 1) {
        const int c = __builtin_ctzll(columns);
        values[c] = slots[rank - found.below[c]][c];
    }
}

// A bit for each of the columns in which all values that share the found code are the same: it is the value.
std::uint64_t takeEqual(const float* panel, std::ptrdiff_t stride, const std::int8_t* codes, int rows,
                        const FoundCodes& found, std::uint64_t columns, float* values) {
    std::uint64_t seen = 0;
    std::uint64_t different = 0;
    visitShared(codes, rows, found.code, columns, [&](int y, int c) {
        const float value = panel[y * stride + c];
        const std::uint64_t column = std::uint64_t{1} << c;
        if ((seen & column) == 0)
            values[c] = value;
        different |= values[c] != value ? column : 0;
        seen |= column;
    });
    return columns & ~different;
}

// Takes the values of a panel, but for those of some columns and of those where too large a part shares the found code;
// returns a bit for each column that is left.
std::uint64_t takePanel(const float* panel, std::ptrdiff_t stride, const std::int8_t* codes, int rows, int rank,
                        std::uint64_t left, float* values) {
    constexpr int kLargestShare = 8;
    FoundCodes found;
    findCodes(codes, rows, rank, found);
    std::uint64_t many = 0;
    for (int c = 0; c < kPanelColumns; ++c) {
        const int shared = found.upTo[c] - found.below[c];
        many |= static_cast<std::uint64_t>(shared > kSlots) << c;
        left |= static_cast<std::uint64_t>(shared > rows / kLargestShare) << c;
    }
    const std::uint64_t few = ~left & ~many;
    many &= ~left;
    if (few != 0)
        pickValues(panel, stride, codes, rows, rank, found, few, values);
    if (many != 0)
        left |= many & ~takeEqual(panel, stride, codes, rows, found, many, values);
    return left;
}

// Takes the brackets; unsettled receives a bit for each column whose bracket is empty. False where most of the work
// would be in vain: large parts of the columns share a value.
bool takeBrackets(const float* columns, std::ptrdiff_t stride, int panels, int rows, int rank, Brackets& brackets,
                  std::uint64_t* unsettled) {
    const int count = panels * kPanelColumns;
    const int mostTies = 3 * count;
    int ties = 0;
    for (int k = 0; k < panels; ++k)
        unsettled[k] = 0;
    for (int x = 0; x < count && ties <= mostTies; x += kLanes) {
        const Samples samples = takeSamples(columns + x, stride, rows, rank, brackets.lower + x, brackets.scale + x);
        unsettled[x / kPanelColumns] |= samples.empty << (x % kPanelColumns);
        ties += samples.ties;
    }
    return ties <= mostTies;
}

void sampledRanks(const float* columns, std::ptrdiff_t stride, int panels, int rows, int rank, std::int8_t* codes,
                  float* values, std::uint64_t* unsettled) noexcept {
    Brackets brackets;
    if (!takeBrackets(columns, stride, panels, rows, rank, brackets, unsettled)) {
        for (int k = 0; k < panels; ++k)
            unsettled[k] = ~std::uint64_t{0};
        return;
    }
    if (panels == kSampledPanels)
        encode<kSampledPanels>(columns, stride, rows, brackets, codes, unsettled);
    else
        encode<1>(columns, stride, rows, brackets, codes, unsettled);
    for (int k = 0; k < panels; ++k) {
        const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(k) * kPanelColumns;
        unsettled[k] =
            takePanel(columns + first, stride, codes + first * rows, rows, rank, unsettled[k], values + first);
    }
}

}  // namespace

QX_TABLE_OF_LEVEL(ColumnKernels) = {sampledRanks};

}  // namespace qx
