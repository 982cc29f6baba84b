#pragma once

#include "foundation/Scratch.h"
#include "kernels/HistogramKernels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qx {

// Where pixels lie, by a sample of them, as PixelCounts wants to know it: it makes counting quick, and changes no
// count.
struct PixelSpread {
    int window = 0;
    bool usesWindow = false;
    bool isWide = false;
};

// Neighbours from places all over.
inline constexpr int kSamplePlaces = 128;
using SampleRun = std::array<std::uint16_t, 8>;
using PixelSample = std::array<SampleRun, kSamplePlaces>;
PixelSpread spreadOf(const PixelSample& sample) noexcept;

// The spread of pixels that lie side by side.
PixelSpread spreadOf(std::span<const std::uint16_t> pixels) noexcept;

// Adds pixels to counts of all values. Without memory of its own it takes up to three times as long.
void countPixels(std::span<const std::uint16_t> pixels, std::uint32_t* counts) noexcept;

// Counts of all values by blocks, so that nobody looks where there are none.
class CountBlocks {
public:
    explicit CountBlocks(const std::uint32_t* counts) noexcept : counts_(counts) {
        histogramKernels().blockSums(counts, sums_.data());
    }

    // Pixels of one of kValueBlocks blocks.
    std::uint32_t pixels(int block) const noexcept { return sums_[block]; }

    // The value of a rank in ascending order, counted from 0, which is below the sum of the counts.
    int valueOfRank(std::uint64_t rank) const noexcept;

    // Bounds of the values that are counted, of which there are some.
    int first() const noexcept;
    int last() const noexcept;

private:
    const std::uint32_t* counts_;
    std::array<std::uint32_t, kValueBlocks> sums_;
};

// Counts of all pixel values, 384 KiB on the heap; test it before use.
class PixelHistogram {
public:
    PixelHistogram() noexcept : memory_(kPixelValues + PixelCounts::kRoom) {
        if (memory_)
            std::fill_n(counts(), kPixelValues, 0u);
    }

    explicit operator bool() const noexcept { return static_cast<bool>(memory_); }
    std::uint32_t* counts() noexcept { return memory_.data(); }

    // Once, before parts are added; these are in the counts only after the next call of merge.
    void expect(const PixelSpread& spread) noexcept;
    void addPart(const PixelRows& pixels) noexcept { histogramKernels().add(pixels, into()); }
    void merge() noexcept { histogramKernels().merge(into()); }

    void add(std::span<const std::uint16_t> pixels) noexcept;

private:
    PixelCounts into() noexcept {
        return {counts(), counts() + kPixelValues, spread_.window, spread_.usesWindow, spread_.isWide};
    }

    Scratch<std::uint32_t> memory_;
    PixelSpread spread_;
};

}  // namespace qx
