#pragma once

#include <cstdarg>

// Checks a printf-like function's arguments against its format.
#ifdef __MINGW32__
#define QX_PRINTF(formatIndex, firstIndex) __attribute__((format(gnu_printf, formatIndex, firstIndex)))
#else
#define QX_PRINTF(formatIndex, firstIndex) __attribute__((format(printf, formatIndex, firstIndex)))
#endif

namespace qx {

// Writes to standard output.
QX_PRINTF(1, 2) void printConsole(const char* format, ...) noexcept;
QX_PRINTF(1, 0) void printConsoleList(const char* format, std::va_list arguments) noexcept;

// Writes one line to standard error and aborts.
[[noreturn]] void fatalError(const char* message) noexcept;

}  // namespace qx
