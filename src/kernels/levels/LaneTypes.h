#pragma once

// Vectors of the level that a kernel source is compiled for.

#include <cstddef>
#include <cstdint>

namespace {

#if defined(__AVX512F__)
constexpr int kVectorBytes = 64;
#elif defined(__AVX2__)
constexpr int kVectorBytes = 32;
#else
constexpr int kVectorBytes = 16;
#endif

constexpr int kLanes = kVectorBytes / 4;
constexpr int kShortLanes = 2 * kLanes;

// Turned over in unsigned 16-bit values, it keeps their order as signed ones.
constexpr std::int16_t kSignBit = -32768;

typedef std::int8_t Bytes __attribute__((vector_size(kVectorBytes)));
typedef std::uint8_t UnsignedBytes __attribute__((vector_size(kVectorBytes)));
typedef std::int16_t Shorts __attribute__((vector_size(kVectorBytes)));
typedef std::uint16_t UnsignedShorts __attribute__((vector_size(kVectorBytes)));
typedef std::uint32_t Uints __attribute__((vector_size(kVectorBytes)));
typedef std::int32_t Ints __attribute__((vector_size(kVectorBytes)));
typedef float Floats __attribute__((vector_size(kVectorBytes)));
typedef double Doubles __attribute__((vector_size(kVectorBytes)));

// Pieces of 16 bytes in a vector; interleaving stays within them.
constexpr int kPieces = kVectorBytes / 16;

}  // namespace
