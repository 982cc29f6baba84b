#include "foundation/Diagnostics.h"

#include "QxUtils/Foundation.h"

namespace {

int debugFlag = 0;

}  // namespace

namespace qx {

void printDebug(const char* format, ...) noexcept {
    if (debugFlag == 0)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    printConsoleList(format, arguments);
    va_end(arguments);
}

}  // namespace qx

int setUtilDebug(int flag) {
    // Kept: printed whatever the flag.
    qx::printConsole("Set util debug flag to %d \n", flag);
    debugFlag = flag;
    return 0;
}
