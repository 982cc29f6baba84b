#pragma once

#include "foundation/Scratch.h"

#include <cstdint>

namespace qx {

// Medians in wide windows that move on sample by sample. Samples are ranked once, a window is the set of its samples'
// ranks, and when one leaves and another comes the median moves to the next rank of the set or to the one before, if at
// all: a median costs the same whatever the window.
class RankedMedians {
public:
    // For windows of 2 half + 1 samples, at most so many samples at once. The memory may be missing.
    RankedMedians(int half, std::int64_t samples) noexcept;

    explicit operator bool() const noexcept {
        return counts_ && entries_ && sorted_ && ranks_ && ordered_ && words_ && summary_;
    }

    // medians[i] is the one of samples[i] .. samples[i + 2 half], `count` of them, with the limits that all
    // WindowKernels have.
    void take(const float* samples, int count, float* medians) noexcept;

private:
    void rank(const float* samples, std::int64_t count) noexcept;
    void countDigits(const float* samples, std::int64_t count) noexcept;
    void sortByDigit(int digit, std::int64_t count) noexcept;
    void rankByHighestDigit(std::int64_t count) noexcept;

    int half_;
    Scratch<std::uint32_t> counts_;
    Scratch<std::uint64_t> entries_;
    Scratch<std::uint64_t> sorted_;
    Scratch<std::uint32_t> ranks_;
    Scratch<float> ordered_;
    Scratch<std::uint64_t> words_;
    Scratch<std::uint64_t> summary_;
};

}  // namespace qx
