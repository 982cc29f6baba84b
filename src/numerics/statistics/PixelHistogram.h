#pragma once

#include "foundation/Scratch.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qx {

inline constexpr int kPixelValues = 65536;

// Adds pixels to counts of all 65536 values. Inline, as it is called for short stretches of rows.
inline void countPixels(const std::uint16_t* pixels, std::size_t count, std::uint32_t* counts) noexcept {
    constexpr std::size_t kPixelsPerLoad = 4;
    std::size_t i = 0;
    for (; i + 2 * kPixelsPerLoad <= count; i += 2 * kPixelsPerLoad) {
        std::array<std::uint64_t, 2> eight;
        std::memcpy(eight.data(), pixels + i, sizeof eight);
        for (const std::uint64_t four : eight) {
            ++counts[four & 0xFFFF];
            ++counts[(four >> 16) & 0xFFFF];
            ++counts[(four >> 32) & 0xFFFF];
            ++counts[four >> 48];
        }
    }
    for (; i < count; ++i)
        ++counts[pixels[i]];
}

// The value of a rank in ascending order, counted from 0, among the values first .. last. rank is below their count.
int valueOfRank(const std::uint32_t* counts, int first, int last, std::uint64_t rank) noexcept;

// Counts of all pixel values, 256 KiB on the heap; test it before use.
class PixelHistogram {
public:
    PixelHistogram() noexcept : counts_(kPixelValues) {
        if (counts_)
            counts_.clear();
    }

    explicit operator bool() const noexcept { return static_cast<bool>(counts_); }
    std::uint32_t* counts() noexcept { return counts_.data(); }
    void add(const std::uint16_t* pixels, std::size_t count) noexcept { countPixels(pixels, count, counts_.data()); }

private:
    Scratch<std::uint32_t> counts_;
};

}  // namespace qx
