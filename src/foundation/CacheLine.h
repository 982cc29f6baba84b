#pragma once

#include <cstddef>
#include <cstdint>

// Vectors across two cache lines cost two accesses. Not for the sources of a vector level: they have their own.

namespace qx {

inline constexpr std::size_t kCacheLineBytes = 64;

// So many values come before the first one that starts a cache line.
template <class Value>
std::size_t valuesBeforeLine(const Value* values) noexcept {
    const std::size_t beyondLine = reinterpret_cast<std::uintptr_t>(values) % kCacheLineBytes;
    return (kCacheLineBytes - beyondLine) % kCacheLineBytes / sizeof(Value);
}

}  // namespace qx
