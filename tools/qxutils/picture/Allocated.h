#pragma once

#include <cstdlib>
#include <new>

namespace qx::tool {

// For libraries in C, some of which leave out what they have no memory for. They lose what they had allocated.
inline void* allocated(void* memory) {
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

}  // namespace qx::tool
