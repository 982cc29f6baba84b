#include "FailingAllocator.h"

#include "AllocationOperators.h"

#include <cstdlib>

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

}  // namespace

namespace qx::test {

void* allocate(std::size_t size) noexcept {
    bytes += static_cast<long long>(size);
    return failsNow() ? nullptr : std::malloc(size != 0 ? size : 1);
}

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
