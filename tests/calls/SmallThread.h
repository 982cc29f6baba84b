#pragma once

#include <cstddef>
#include <functional>

namespace qx::test {

// Runs work in a thread that has so many bytes of stack, or the few more that the platform asks for. Returns when it
// has ended; false when there is no such thread.
bool runWithStack(std::size_t bytes, const std::function<void()>& work);

// How many bytes of stack a call takes, of `most` that the thread has to spare.
std::size_t stackTakenBy(const std::function<void()>& call, std::size_t most);

}  // namespace qx::test
