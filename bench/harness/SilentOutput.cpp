#include "harness/SilentOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace qx::bench {

namespace {

int requireDescriptor(int descriptor) {
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "cannot silence standard output");
    return descriptor;
}

}  // namespace

SilentOutput::SilentOutput() : output_(requireDescriptor(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0))) {
    std::fflush(stdout);
    const int nowhere = requireDescriptor(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    ::dup2(nowhere, STDOUT_FILENO);
    ::close(nowhere);
}

SilentOutput::~SilentOutput() {
    std::fflush(stdout);
    ::dup2(output_, STDOUT_FILENO);
    ::close(output_);
}

void bufferOutput() {
    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
}

}  // namespace qx::bench
