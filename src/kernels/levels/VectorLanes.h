#pragma once

// Vectors of the level that a kernel source is compiled for. Arithmetic is written with the compiler's vector
// operators; only the conversions between element widths are spelled out, once a processor. Everything is local to the
// including source (see VectorLevel.h).

#include "kernels/levels/LaneTypes.h"
#if defined(__x86_64__)
#include "kernels/levels/LanesX86.h"
#else
#include "kernels/levels/LanesPortable.h"
#endif

namespace {

inline std::int32_t sumOfLanes(Ints v) {
    return folded(v, [](auto a, auto b) { return a + b; });
}
inline double sumOfLanes(Doubles v) {
    double sum = 0;
    for (int lane = 0; lane < kLanes / 2; ++lane)
        sum += v[lane];
    return sum;
}
inline std::int32_t smallestLane(Ints v) {
    return folded(v, [](auto a, auto b) { return a < b ? a : b; });
}
inline std::int32_t largestLane(Ints v) {
    return folded(v, [](auto a, auto b) { return a > b ? a : b; });
}
inline std::int32_t bitsOfLanes(Ints v) {
    return folded(v, [](auto a, auto b) { return a | b; });
}

constexpr int kCacheLineBytes = 64;

// Those of the values that come before the first start of a cache line: vectors across two lines cost two accesses.
template <class Value>
inline std::size_t valuesBeforeLine(const Value* values, std::size_t count) {
    const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(values) % kCacheLineBytes;
    const std::size_t before = (kCacheLineBytes - offset) % kCacheLineBytes / sizeof(Value);
    return before < count ? before : count;
}

// Fetches what will be needed soon. Addresses beyond the image do no harm.
inline void fetchFrom(const void* values, std::ptrdiff_t bytesAhead) {
    const auto address = reinterpret_cast<std::uintptr_t>(values) + static_cast<std::uintptr_t>(bytesAhead);
    __builtin_prefetch(reinterpret_cast<const void*>(address));
}

// Fetches what comes farther ahead than the processor's own prefetch looks.
inline void fetchAhead(const void* values) {
    fetchFrom(values, 64 * kCacheLineBytes);
}

template <class Vector>
inline void store(void* target, Vector v) {
    __builtin_memcpy(target, &v, sizeof v);
}

inline Floats loadFloats(const float* values) {
    return Floats(loadInts(values));
}

inline Bytes loadBytes(const std::int8_t* values) {
    return Bytes(loadInts(values));
}

inline Floats toFloats(Ints v) {
    return __builtin_convertvector(v, Floats);
}

// Lane j of row i becomes lane i of column j, of kLanes rows.
constexpr int kPieceFloats = 4;
inline void transposeLanes(const Floats* rows, Floats* columns) {
    // quads[c][q]: columns c, c + 4, ... of the rows 4 q .. 4 q + 3.
    Bits quads[kPieceFloats][kPieces];
    for (int q = 0; q < kPieces; ++q) {
        const Floats* const in = rows + q * kPieceFloats;
        const Bits a = lowIntsOf(Bits(in[0]), Bits(in[1]));
        const Bits b = highIntsOf(Bits(in[0]), Bits(in[1]));
        const Bits c = lowIntsOf(Bits(in[2]), Bits(in[3]));
        const Bits d = highIntsOf(Bits(in[2]), Bits(in[3]));
        quads[0][q] = lowLongsOf(a, c);
        quads[1][q] = highLongsOf(a, c);
        quads[2][q] = lowLongsOf(b, d);
        quads[3][q] = highLongsOf(b, d);
    }
    for (int c = 0; c < kPieceFloats; ++c) {
        transposePieces(quads[c]);
        for (int q = 0; q < kPieces; ++q)
            columns[q * kPieceFloats + c] = Floats(quads[c][q]);
    }
}

}  // namespace
