#include "files/TemporaryName.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <exception>
#include <new>
#include <typeinfo>

// What no handler can catch ends the program like other failures: an exception before main, in a destructor, in another
// thread, or one that itself finds no memory.

namespace qx::tool {
namespace {

// Takes no memory.
[[noreturn]] void endInOneLine() noexcept {
    removeTemporaryFiles();
    const std::type_info* const type = abi::__cxa_current_exception_type();
    std::fputs(type == nullptr || *type == typeid(std::bad_alloc)
                   ? "qxutils: out of memory; use a smaller image\n"
                   : "qxutils: ended by a fault of its own; report the command line\n",
               stderr);
    std::_Exit(EXIT_FAILURE);
}

constexpr int kBeforeOthers = 101;

[[gnu::constructor(kBeforeOthers)]] void prepare() {
    std::set_terminate(endInOneLine);
#ifdef SIGXFSZ
    // A file that reaches the limit of its size is an error of writing like others, whoever writes it.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}

}  // namespace
}  // namespace qx::tool
