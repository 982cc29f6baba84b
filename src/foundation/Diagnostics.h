#pragma once

#include "platform/Console.h"

namespace qx {

// Prints to standard output while the debug flag is set.
QX_PRINTF(1, 2) void printDebug(const char* format, ...) noexcept;

}  // namespace qx
