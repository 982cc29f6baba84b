#pragma once

#include "foundation/CacheLine.h"
#include "foundation/Scratch.h"

#include <cstdint>

namespace qx {

// Working memory that starts with a cache line. It may be missing.
class AlignedFloats {
public:
    explicit AlignedFloats(std::int64_t count) noexcept : memory_(count + kCacheLineBytes / sizeof(float)) {}

    explicit operator bool() const noexcept { return static_cast<bool>(memory_); }
    float* data() noexcept { return memory_.data() + valuesBeforeLine(memory_.data()); }
    const float* data() const noexcept { return memory_.data() + valuesBeforeLine(memory_.data()); }

private:
    Scratch<float> memory_;
};

}  // namespace qx
