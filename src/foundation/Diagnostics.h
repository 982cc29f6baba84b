#pragma once

#include "platform/Console.h"

namespace qx {

// Prints to standard output while the debug flag is set.
QX_PRINTF(1, 2) void printDebug(const char* format, ...) noexcept;

// While one lives, what its thread runs writes neither log lines nor diagnostics: for measuring without a verdict.
class Silence {
public:
    Silence() noexcept;
    ~Silence();
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

    static bool isKept() noexcept;
};

}  // namespace qx
