#include "foundation/Diagnostics.h"

#include "QxUtils/Foundation.h"

#include <atomic>

namespace {

std::atomic<int> debugFlag = 0;

thread_local constinit int silences = 0;

}  // namespace

namespace qx {

void printDebug(const char* format, ...) noexcept {
    if (debugFlag == 0 || Silence::isKept())
        return;
    std::va_list arguments;
    va_start(arguments, format);
    printConsoleList(format, arguments);
    va_end(arguments);
}

Silence::Silence() noexcept {
    ++silences;
}

Silence::~Silence() {
    --silences;
}

bool Silence::isKept() noexcept {
    return silences > 0;
}

}  // namespace qx

int setUtilDebug(int flag) {
    // Kept: printed whatever the flag.
    qx::printConsole("Set util debug flag to %d \n", flag);
    debugFlag = flag;
    return 0;
}
