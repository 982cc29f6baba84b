#include "platform/Console.h"

#include <cstdio>
#include <cstdlib>

namespace qx {

void printConsole(const char* format, ...) noexcept {
    std::va_list arguments;
    va_start(arguments, format);
    printConsoleList(format, arguments);
    va_end(arguments);
}

void printConsoleList(const char* format, std::va_list arguments) noexcept {
    std::vprintf(format, arguments);
}

void fatalError(const char* message) noexcept {
    std::fprintf(stderr, "QxUtils: %s\n", message);
    std::fflush(nullptr);
    std::abort();
}

}  // namespace qx
