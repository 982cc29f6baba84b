#pragma once

#include "foundation/Scratch.h"

#include <cstddef>
#include <cstdint>

namespace qx {

inline constexpr int kPixelValues = 65536;

// Adds pixels to counts of all 65536 values.
void countPixels(const std::uint16_t* pixels, std::size_t count, std::uint32_t* counts) noexcept;

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
