#pragma once

// Random numbers that are a function of a key and an index alone, so that any part of a frame can be made in any
// order. Integers, and sums and products of exact binary fractions: the same bits on every platform.

#include <cstdint>

namespace qxkit {

enum class NoiseSource : std::uint64_t {
    DarkPixel = 1,
    DarkSlow,
    PixelGain,
    AfeStep,
    DefectPlace,
    DefectStrength,
    Pixel,
    Row,
    Residual,
    ReferencePixel,
    ReferenceRow,
};

class NoiseStream {
public:
    NoiseStream(std::uint64_t seed, NoiseSource source, std::uint32_t frame = 0)
        : key_(mix(mix(seed) + mix((static_cast<std::uint64_t>(source) << 32) + frame))) {}

    std::uint64_t bits(std::uint64_t index) const { return mix(key_ + index * 0x9E3779B97F4A7C15U); }

    // 0 <= uniform < 1.
    double uniform(std::uint64_t index) const { return static_cast<double>(bits(index) >> 11) * 0x1p-53; }

    // 0 <= below < limit, limit in 1 .. 2^32.
    std::uint64_t below(std::uint64_t index, std::uint64_t limit) const { return (bits(index) >> 32) * limit >> 32; }

    // Mean 0, variance 1 and no value beyond 6: the sum of twelve uniform 16-bit numbers.
    double gaussian(std::uint64_t index) const {
        const std::uint64_t first = pairSums(bits(3 * index));
        const std::uint64_t sums = first + pairSums(bits(3 * index + 1)) + pairSums(bits(3 * index + 2));
        const auto sum = static_cast<std::int32_t>((sums >> 32) + (sums & 0xFFFFFFFFU));
        return (sum - kMeanOfSum) * 0x1p-16;
    }

private:
    static constexpr double kMeanOfSum = 12 * 32767.5;

    // Two sums of two 16-bit lanes each, in the halves of the result.
    static std::uint64_t pairSums(std::uint64_t word) {
        constexpr std::uint64_t kEvenLanes = 0x0000FFFF0000FFFFU;
        return (word & kEvenLanes) + (word >> 16 & kEvenLanes);
    }

    // The finaliser of splitmix64.
    static std::uint64_t mix(std::uint64_t word) {
        word = (word ^ (word >> 30)) * 0xBF58476D1CE4E5B9U;
        word = (word ^ (word >> 27)) * 0x94D049BB133111EBU;
        return word ^ (word >> 31);
    }

    std::uint64_t key_;
};

}  // namespace qxkit
