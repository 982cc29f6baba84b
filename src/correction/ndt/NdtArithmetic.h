#pragma once

#include <cstddef>
#include <cstdint>

namespace qx {

// The gain of every pixel: one of the two kinds.
struct NdtGain {
    const float* fixed;           // null for the other kind
    const std::uint16_t* linear;  // 10000 stands for 1
};

// Offset and gain of `count` pixels from `first` on.
void correctOffsetAndGain(const std::uint32_t* image, const std::uint32_t* dark, const NdtGain& gain, std::size_t first,
                          std::size_t count, float* results) noexcept;

// Offset and gain of all pixels, truncated, in place.
void correctOffsetAndGain(std::uint32_t* image, const std::uint32_t* dark, const NdtGain& gain,
                          std::size_t count) noexcept;

// The gains that make the difference of two images its mean.
void ndtGains(const std::uint32_t* bright, const std::uint32_t* dark, std::size_t count, std::uint16_t* gains) noexcept;

}  // namespace qx
