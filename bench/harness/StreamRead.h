#pragma once

// The limit of work that must look at every byte, or change every byte: passing them once through the widest vectors
// the processor has.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace qx::bench {

// Sum of the bytes taken as 64-bit words, so that no read can be left out.
std::uint64_t streamRead(const void* data, std::size_t byteCount) noexcept;

// Reads every byte and writes another one in its place.
void streamUpdate(void* data, std::size_t byteCount) noexcept;

using Bytes = std::span<const std::byte>;

// The bytes that a piece of work passes in this way.
std::vector<Bytes> bytesStreamedBy(const std::function<void()>& work);

// Drops every line of them from all caches.
void flush(const std::vector<Bytes>& ranges);

}  // namespace qx::bench
