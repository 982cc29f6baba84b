#pragma once

#include "QxUtils/Foundation.h"
#include "platform/Console.h"

namespace qx {

// Writes a formatted line (at most 1023 characters) of the Utils module with severity I; value follows the text.
QX_PRINTF(2, 3) void logInfo(int value, const char* format, ...) noexcept;

// Logs "<operation> begins".
void logBegin(const char* operation, LogModuleId module = LogModuleUtils) noexcept;

// Logs "<operation><ending>" and the value: operations end with different words.
void logEnd(const char* operation, const char* ending, int value, LogModuleId module = LogModuleUtils) noexcept;

// Logs that a buffer could not be allocated, as described for the operation that needs it.
void logAllocationFailure(const char* buffer, long long bytes, int value) noexcept;

}  // namespace qx
