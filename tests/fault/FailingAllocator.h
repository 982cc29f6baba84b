#pragma once

namespace qx::test {

// Makes one allocation of the program fail: the next one is number 1.
void failAllocation(long number);

// The bytes of all allocations since then.
long long bytesAllocated();

// Lets all allocations succeed again. Returns whether one has failed.
bool stopFailing();

}  // namespace qx::test
