#include "FailingAllocator.h"

#include <cstdlib>
#include <new>

namespace {

// Allocations until the one that fails; below 1 none does.
long untilFailure = 0;
bool hasFailed = false;
long long bytes = 0;

bool failsNow() noexcept {
    if (untilFailure > 0 && --untilFailure == 0) {
        hasFailed = true;
        return true;
    }
    return false;
}

void* allocate(std::size_t size) noexcept {
    bytes += static_cast<long long>(size);
    return failsNow() ? nullptr : std::malloc(size != 0 ? size : 1);
}

void* allocateOrThrow(std::size_t size) {
    if (void* memory = allocate(size))
        return memory;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace qx::test {

void failAllocation(long number) {
    hasFailed = false;
    untilFailure = number;
    bytes = 0;
}

long long bytesAllocated() {
    return bytes;
}

bool stopFailing() {
    untilFailure = 0;
    return hasFailed;
}

}  // namespace qx::test
