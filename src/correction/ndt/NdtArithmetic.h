#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <variant>

namespace qx {

// The gain of every pixel: fixed ones, or those of the NDT mode, of which 10000 stands for 1.
using NdtGain = std::variant<std::span<const float>, std::span<const std::uint16_t>>;

// An image and what corrects it, pixel by pixel.
struct NdtFrame {
    std::span<std::uint32_t> image;
    std::span<const std::uint32_t> dark;
    NdtGain gain;

    // Pixels first .. first + count - 1.
    NdtFrame part(std::size_t first, std::size_t count) const noexcept;
};

// Offset and gain of all pixels.
void correctOffsetAndGain(const NdtFrame& frame, std::span<float> results) noexcept;

// Offset and gain of all pixels, truncated, in place.
void correctOffsetAndGain(const NdtFrame& frame) noexcept;

// The gains that make the difference of two images its mean.
void ndtGains(std::span<const std::uint32_t> bright, std::span<const std::uint32_t> dark,
              std::span<std::uint16_t> gains) noexcept;

}  // namespace qx
