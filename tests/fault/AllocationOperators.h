#pragma once

#include <cstddef>

namespace qx::test {

// Where the program's operators new take memory from, which std::free releases; null when an allocation is to fail. A
// program that fails allocations defines it.
void* allocate(std::size_t size) noexcept;

}  // namespace qx::test
