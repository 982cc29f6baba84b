#pragma once

// What VectorLanes.h leaves to the processor, for one without a header of its own: vectors of 16 bytes in the
// compiler's operations alone.

#include "kernels/levels/LaneTypes.h"

namespace {

typedef std::int64_t Bits __attribute__((vector_size(16)));

// Halves of vectors, as wide as their elements are when they become twice as long.
typedef std::int16_t HalfShorts __attribute__((vector_size(8)));
typedef std::uint16_t HalfUnsignedShorts __attribute__((vector_size(8)));
typedef std::int32_t HalfInts __attribute__((vector_size(8)));
typedef float HalfFloats __attribute__((vector_size(8)));

template <class Vector>
inline Vector loaded(const void* values) {
    Vector v;
    __builtin_memcpy(&v, values, sizeof v);
    return v;
}

inline Shorts loadShorts(const std::uint16_t* values) {
    return loaded<Shorts>(values);
}
inline Ints loadPixels(const std::uint16_t* pixels) {
    return __builtin_convertvector(loaded<HalfUnsignedShorts>(pixels), Ints);
}
inline Ints loadInts(const void* values) {
    return loaded<Ints>(values);
}

inline Doubles loadAsDoubles(const float* values) {
    return __builtin_convertvector(loaded<HalfFloats>(values), Doubles);
}
inline Doubles lowDoubles(Floats v) {
    return __builtin_convertvector(HalfFloats(__builtin_shufflevector(v, v, 0, 1)), Doubles);
}
inline Doubles highDoubles(Floats v) {
    return __builtin_convertvector(HalfFloats(__builtin_shufflevector(v, v, 2, 3)), Doubles);
}
inline Doubles lowDoubles(Ints v) {
    return __builtin_convertvector(HalfInts(__builtin_shufflevector(v, v, 0, 1)), Doubles);
}
inline Doubles highDoubles(Ints v) {
    return __builtin_convertvector(HalfInts(__builtin_shufflevector(v, v, 2, 3)), Doubles);
}

// Two vectors of numbers 0..65535 as pixels side by side.
inline void storePixels(std::uint16_t* pixels, Ints low, Ints high) {
    const HalfUnsignedShorts halves[] = {__builtin_convertvector(low, HalfUnsignedShorts),
                                         __builtin_convertvector(high, HalfUnsignedShorts)};
    __builtin_memcpy(pixels, halves, sizeof halves);
}

// Sums and differences of 16-bit lanes that stop at their ends. They are formed without a sign, where they wrap.
inline Shorts differenceSaturated(Shorts a, Shorts b) {
    const Shorts wrapped = Shorts(UnsignedShorts(a) - UnsignedShorts(b));
    const Shorts overflowed = ((a ^ b) & (a ^ wrapped)) >> 15;
    return overflowed ? (a >> 15) ^ std::int16_t{32767} : wrapped;
}
inline Bits unsignedSum(Bits a, Bits b) {
    const UnsignedShorts wrapped = UnsignedShorts(a) + UnsignedShorts(b);
    return Bits(wrapped | UnsignedShorts(wrapped < UnsignedShorts(a)));
}
inline Bits unsignedDifference(Bits a, Bits b) {
    const UnsignedShorts wrapped = UnsignedShorts(a) - UnsignedShorts(b);
    return Bits(wrapped & UnsignedShorts(UnsignedShorts(a) > UnsignedShorts(b)));
}

// Each lane holds the sum of the products of two neighbouring signed lanes.
inline Uints sumOfProductPairs(Shorts a, Shorts b) {
    const Ints even = (Ints(a) << 16 >> 16) * (Ints(b) << 16 >> 16);
    const Ints odd = (Ints(a) >> 16) * (Ints(b) >> 16);
    return Uints(even) + Uints(odd);
}

// Of unsigned 16-bit lanes.
inline Bits smallerShorts(Bits a, Bits b) {
    const auto first = UnsignedShorts(a);
    const auto second = UnsignedShorts(b);
    return Bits(first < second ? first : second);
}
inline Bits largerShorts(Bits a, Bits b) {
    const auto first = UnsignedShorts(a);
    const auto second = UnsignedShorts(b);
    return Bits(first > second ? first : second);
}

// The second where they are equal or one is not a number.
inline Floats smallerOf(Floats a, Floats b) {
    return a < b ? a : b;
}
inline Floats largerOf(Floats a, Floats b) {
    return a > b ? a : b;
}
inline Doubles largerOf(Doubles a, Doubles b) {
    return a > b ? a : b;
}

// What does not fit becomes the lowest integer.
inline Ints truncatedInts(Floats values) {
    constexpr float kEnd = 2147483648.0f;
    const Ints fits = (values >= -kEnd) & (values < kEnd);
    const Ints truncated = __builtin_convertvector(fits ? values : Floats{}, Ints);
    return fits ? truncated : Ints{} - 2147483647 - 1;
}

// Integers close to the values, in their order. What is too low becomes the lowest integer.
inline Ints closeInts(Floats values) {
    return truncatedInts(values);
}

// Four vectors of integers as bytes side by side; those beyond a byte's ends become the ends.
inline void storeBytes(std::int8_t* bytes, const Ints* four) {
    for (int i = 0; i < 4 * kLanes; ++i) {
        const std::int32_t value = four[i / kLanes][i % kLanes];
        bytes[i] = static_cast<std::int8_t>(value < -128 ? -128 : value > 127 ? 127 : value);
    }
}

// Vectors of pieces that lie `stride` bytes apart.
inline Bits loadPieces(const void* first, std::ptrdiff_t) {
    return loaded<Bits>(first);
}

// Exchanges piece j of v[i] and piece i of v[j].
inline void transposePieces(Bits*) {}

// The elements of both vectors in turn, from the first or second halves of their pieces.
inline Bits lowShortsOf(Bits a, Bits b) {
    return Bits(__builtin_shufflevector(Shorts(a), Shorts(b), 0, 8, 1, 9, 2, 10, 3, 11));
}
inline Bits highShortsOf(Bits a, Bits b) {
    return Bits(__builtin_shufflevector(Shorts(a), Shorts(b), 4, 12, 5, 13, 6, 14, 7, 15));
}
inline Bits lowIntsOf(Bits a, Bits b) {
    return Bits(__builtin_shufflevector(Ints(a), Ints(b), 0, 4, 1, 5));
}
inline Bits highIntsOf(Bits a, Bits b) {
    return Bits(__builtin_shufflevector(Ints(a), Ints(b), 2, 6, 3, 7));
}
inline Bits lowLongsOf(Bits a, Bits b) {
    return __builtin_shufflevector(a, b, 0, 2);
}
inline Bits highLongsOf(Bits a, Bits b) {
    return __builtin_shufflevector(a, b, 1, 3);
}

// count + 1 in the lanes where a < b.
inline Ints countLess(Ints count, Ints a, Ints b) {
    return count - (a < b);
}
inline Shorts countLess(Shorts count, Shorts a, Shorts b) {
    return count - (a < b);
}

// The same of signed bytes.
inline Bytes countLess(Bytes count, Bytes a, Bytes b) {
    return Bytes(UnsignedBytes(count) - UnsignedBytes(a < b));
}

// A bit for each byte that is the same in both.
inline std::uint64_t bitsOfEqual(Bytes a, Bytes b) {
    std::uint64_t bits = 0;
    for (int lane = 0; lane < kVectorBytes; ++lane)
        bits |= static_cast<std::uint64_t>(a[lane] == b[lane]) << lane;
    return bits;
}

// One value from all lanes, by an operation on two vectors of any width.
template <class Operation>
inline std::int32_t folded(Ints v, Operation operation) {
    const Ints two = operation(v, Ints(__builtin_shufflevector(v, v, 2, 3, 0, 1)));
    return operation(two, Ints(__builtin_shufflevector(two, two, 1, 0, 3, 2)))[0];
}

// Whether a comparison holds in any lane.
inline bool anyLane(Ints mask) {
    return folded(mask, [](Ints a, Ints b) { return a | b; }) != 0;
}

}  // namespace
