#include "Handles.h"

#include <atomic>

std::uint64_t qx::c::nextHandle() noexcept {
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
}
