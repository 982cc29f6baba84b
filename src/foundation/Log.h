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

// The course of an operation in the log: begins where it is declared, ends where it goes out of scope, on every path.
// Operations end with different words, and with the value that end() was given last, none at first.
class LoggedOperation {
public:
    explicit LoggedOperation(const char* operation, const char* ending = " terminates",
                             LogModuleId module = LogModuleUtils) noexcept
        : operation_(operation), ending_(ending), module_(module) {
        logBegin(operation_, module_);
    }
    ~LoggedOperation() {
        if (ending_ != nullptr)
            logEnd(operation_, ending_, value_, module_);
    }
    LoggedOperation(const LoggedOperation&) = delete;
    LoggedOperation& operator=(const LoggedOperation&) = delete;

    // Returns the value, which the line at the end tells.
    int end(int value) noexcept { return value_ = value; }

    // Returns the value, which the line at the end tells in other words.
    int end(int value, const char* ending) noexcept {
        ending_ = ending;
        return end(value);
    }

    // Returns the value; nothing tells of the end.
    int endUntold(int value) noexcept {
        ending_ = nullptr;
        return value;
    }

private:
    const char* operation_;
    const char* ending_;
    LogModuleId module_;
    int value_ = kLogNoValue;
};

// Logs that a buffer could not be allocated, as described for the operation that needs it.
void logAllocationFailure(const char* buffer, long long bytes, int value) noexcept;

}  // namespace qx
