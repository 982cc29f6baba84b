#include "kernels/HistogramKernels.h"
#include "kernels/levels/VectorLanes.h"

// The loops over a chunk are unrolled: the processor learns for each increment apart whether it waits for another one.
#define QX_UNROLLED _Pragma("GCC unroll 32")

namespace qx {
namespace {

// Pixels that are looked at together.
constexpr int kChunk = kCacheLineBytes / sizeof(std::uint16_t);
constexpr int kChunkVectors = kChunk / kShortLanes;

// Whether an expression of each vector of the chunk is 0 in all lanes.
template <class Difference>
bool isZeroEverywhere(const std::uint16_t* chunk, Difference difference) {
    Ints differs{};
    for (int v = 0; v < kChunkVectors; ++v)
        differs |= Ints(difference(loadShorts(chunk + v * kShortLanes)));
    return !anyLane(differs != 0);
}

bool hasOneValue(const std::uint16_t* chunk) {
    const Shorts first = Shorts{} + static_cast<std::int16_t>(chunk[0]);
    return isZeroEverywhere(chunk, [=](Shorts pixels) { return pixels ^ first; });
}

class Window {
public:
    explicit Window(const PixelCounts& into)
        : first_(UnsignedShorts{} + static_cast<std::uint16_t>(into.window)),
          countOfZero_(reinterpret_cast<std::uintptr_t>(into.room) - bytesOf(into.window)) {}

    bool holds(const std::uint16_t* chunk) const {
        const Bits last = Bits(Shorts{} + (kWindowValues - 1));
        return isZeroEverywhere(
            chunk, [&](Shorts pixels) { return unsignedDifference(Bits(UnsignedShorts(pixels) - first_), last); });
    }

    void add(const std::uint16_t* chunk) const {
        QX_UNROLLED
        for (int i = 0; i < kChunk; ++i)
            ++*reinterpret_cast<std::uint32_t*>(countOfZero_ + bytesOf(chunk[i] + i % kWindowTables * kWindowValues));
    }

private:
    static std::uintptr_t bytesOf(int counts) { return static_cast<std::uintptr_t>(counts) * sizeof(std::uint32_t); }

    UnsignedShorts first_;
    std::uintptr_t countOfZero_;  // where the first table would have the count of 0
};

unsigned char* bytesOf(const PixelCounts& into) {
    return reinterpret_cast<unsigned char*>(into.room + PixelCounts::kWindowRoom);
}

void addAtOnce(const std::uint16_t* chunk, std::uint32_t* counts) {
    QX_UNROLLED
    for (int i = 0; i < kChunk; ++i)
        ++counts[chunk[i]];
}

// All bytes together stay in the processor's first cache, or nearly.
void addInBytes(const std::uint16_t* chunk, unsigned char* bytes, std::uint32_t* counts) {
    constexpr std::uint32_t kCarry = 256;
    QX_UNROLLED
    for (int i = 0; i < kChunk; ++i) {
        const std::size_t value = chunk[i];
        if (__builtin_expect(++bytes[value] == 0, 0))
            counts[value] += kCarry;
    }
}

template <bool usesWindow, class AddChunk>
void addRows(const PixelRows& pixels, const PixelCounts& into, AddChunk addChunk) {
    const Window window(into);
    std::uint32_t* const counts = into.counts;
    const std::size_t columns = pixels.columns;
    const auto bytesAhead = pixels.ahead * static_cast<std::ptrdiff_t>(sizeof *pixels.first);
    for (int y = 0; y < pixels.rows; ++y) {
        const std::uint16_t* const row = pixels.first + y * pixels.stride;
        std::size_t x = 0;
        for (; x + kChunk <= columns; x += kChunk) {
            const std::uint16_t* const chunk = row + x;
            fetchFrom(chunk, bytesAhead);
            if (hasOneValue(chunk))
                counts[*chunk] += kChunk;
            else if (usesWindow && window.holds(chunk))
                window.add(chunk);
            else
                addChunk(chunk);
        }
        for (; x < columns; ++x)
            ++counts[row[x]];
    }
}

template <bool usesWindow>
void addBy(const PixelRows& pixels, const PixelCounts& into) {
    std::uint32_t* const counts = into.counts;
    unsigned char* const bytes = bytesOf(into);
    if (into.isWide)
        addRows<usesWindow>(pixels, into, [=](const std::uint16_t* chunk) { addInBytes(chunk, bytes, counts); });
    else
        addRows<usesWindow>(pixels, into, [=](const std::uint16_t* chunk) { addAtOnce(chunk, counts); });
}

void add(const PixelRows& pixels, const PixelCounts& into) noexcept {
    if (into.usesWindow)
        addBy<true>(pixels, into);
    else
        addBy<false>(pixels, into);
}

template <class Count>
void moveInto(std::uint32_t* __restrict counts, Count* __restrict held, int values) {
    for (int i = 0; i < values; ++i)
        counts[i] += held[i];
    __builtin_memset(held, 0, static_cast<std::size_t>(values) * sizeof *held);
}

void merge(const PixelCounts& into) noexcept {
    for (int table = 0; into.usesWindow && table < kWindowTables; ++table)
        moveInto(into.counts + into.window, into.room + table * kWindowValues, kWindowValues);
    if (into.isWide)
        moveInto(into.counts, bytesOf(into), kPixelValues);
}

void blockSums(const std::uint32_t* counts, std::uint32_t* sums) noexcept {
    for (int block = 0; block < kValueBlocks; ++block) {
        std::uint32_t sum = 0;
        for (int i = 0; i < kValueBlock; ++i)
            sum += counts[block * kValueBlock + i];
        sums[block] = sum;
    }
}

#if defined(__AVX2__)

// Every look-up reads a level and the next one; of two neighbours in 32 bits the first keeps the lower half.
std::size_t replaceVectors(std::uint16_t* pixels, std::size_t count, const std::uint16_t* levels) {
    std::size_t i = 0;
    for (; i + kShortLanes <= count; i += kShortLanes) {
        fetchAhead(pixels + i);
        const Uints pairs = Uints(loadInts(pixels + i));
        const Uints first = Uints(gatherPairs(levels, Ints(pairs & 0xFFFF)));
        const Uints second = Uints(gatherPairs(levels, Ints(pairs >> 16)));
        store(pixels + i, (first & 0xFFFF) | (second << 16));
    }
    return i;
}

#else

// Four pixels at a time: a store each would take longer than the levels' look-up.
std::size_t replaceVectors(std::uint16_t* pixels, std::size_t count, const std::uint16_t* levels) {
    constexpr std::size_t kAtOnce = 4;
    std::size_t i = 0;
    const auto level = [=](std::size_t index) -> std::uint64_t { return levels[pixels[index]]; };
    for (; i + kChunk <= count; i += kChunk) {
        fetchAhead(pixels + i);
        QX_UNROLLED
        for (std::size_t k = i; k < i + kChunk; k += kAtOnce)
            store(pixels + k, level(k) | level(k + 1) << 16 | level(k + 2) << 32 | level(k + 3) << 48);
    }
    return i;
}

#endif

void replace(std::uint16_t* pixels, std::size_t count, const std::uint16_t* levels) noexcept {
    for (std::size_t i = replaceVectors(pixels, count, levels); i < count; ++i)
        pixels[i] = levels[pixels[i]];
}

}  // namespace

QX_TABLE_OF_LEVEL(HistogramKernels) = {add, merge, blockSums, replace};

}  // namespace qx
