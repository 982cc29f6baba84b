#pragma once

#include "foundation/Scratch.h"

#include <cstddef>
#include <cstdint>

namespace qx {

// Working memory that starts with a cache line: vectors across two lines cost two accesses. It may be missing.
class AlignedFloats {
public:
    explicit AlignedFloats(std::size_t count) noexcept : memory_(count + kLineFloats) {}

    explicit operator bool() const noexcept { return static_cast<bool>(memory_); }
    float* data() noexcept { return memory_.data() + offset(); }
    const float* data() const noexcept { return memory_.data() + offset(); }

private:
    static constexpr std::size_t kLineBytes = 64;
    static constexpr std::size_t kLineFloats = kLineBytes / sizeof(float);

    std::size_t offset() const noexcept {
        const std::size_t beyondLine = reinterpret_cast<std::uintptr_t>(memory_.data()) % kLineBytes;
        return (kLineBytes - beyondLine) % kLineBytes / sizeof(float);
    }

    Scratch<float> memory_;
};

}  // namespace qx
