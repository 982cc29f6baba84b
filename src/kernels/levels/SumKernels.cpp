#include "kernels/SumKernels.h"
#include "kernels/levels/VectorLanes.h"

namespace qx {
namespace {

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
        pairs[i] = lowShortsOf(in[2 * i], in[2 * i + 1]);
        pairs[i + 4] = highShortsOf(in[2 * i], in[2 * i + 1]);
    }
    for (int half = 0; half < 2; ++half) {
        const Bits* const p = pairs + 4 * half;
        const Bits a = lowIntsOf(p[0], p[1]);
        const Bits b = highIntsOf(p[0], p[1]);
        const Bits c = lowIntsOf(p[2], p[3]);
        const Bits d = highIntsOf(p[2], p[3]);
        columns[4 * half] = lowLongsOf(a, c);
        columns[4 * half + 1] = highLongsOf(a, c);
        columns[4 * half + 2] = lowLongsOf(b, d);
        columns[4 * half + 3] = highLongsOf(b, d);
    }
}

// Running sums of kStripsInFlight strips: of every piece's first and last four.
struct StripGroup {
    Floats low{};
    Floats high{};

    void addRow(const std::uint16_t* row) {
        constexpr auto kPieceStride = static_cast<std::ptrdiff_t>(kPieceShorts * kStripColumns * sizeof(std::uint16_t));
        constexpr std::ptrdiff_t kBytesAhead = 6144;
        const Bits zero{};
        // Members would be written back after every addition.
        Floats runningLow = low;
        Floats runningHigh = high;
        for (int strip = 0; strip < kStripsInFlight; ++strip)
            fetchFrom(row + strip * kStripColumns, kBytesAhead);
        for (int x = 0; x < kStripColumns; x += kPieceShorts) {
            Bits in[kPieceShorts];
            for (int i = 0; i < kPieceShorts; ++i)
                in[i] = loadPieces(row + i * kStripColumns + x, kPieceStride);
            Bits columns[kPieceShorts];
            transposeShorts(in, columns);
            for (const Bits& column : columns) {
                runningLow += toFloats(Ints(lowShortsOf(column, zero)));
                runningHigh += toFloats(Ints(highShortsOf(column, zero)));
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
        store(sums + v * (kLanes / 2), running[v]);
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

}  // namespace

QX_TABLE_OF_LEVEL(SumKernels) = {rowSums, stripSums, addMultiple, rotate, columnProducts};

}  // namespace qx
