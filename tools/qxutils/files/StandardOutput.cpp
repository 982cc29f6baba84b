#include "files/StandardOutput.h"

#include <cstddef>
#include <cstdio>
#include <iostream>

#if defined(_WIN32)
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace qx::tool {
namespace {

constexpr int kOutput = 1;
constexpr int kError = 2;

int copyOfOutput = kOutput;

int copyOf(int descriptor) {
#if defined(_WIN32)
    return _dup(descriptor);
#else
    return dup(descriptor);
#endif
}

// Without standard error no file may get its number, and with it what is said there.
void holdStandardError() {
#if !defined(_WIN32)
    if (fcntl(kError, F_GETFD) >= 0)
        return;
    const int nowhere = open("/dev/null", O_WRONLY);
    if (nowhere < 0 || nowhere == kError)
        return;
    dup2(nowhere, kError);
    close(nowhere);
#endif
}

void redirect(int descriptor, int target) {
#if defined(_WIN32)
    _dup2(target, descriptor);
#else
    dup2(target, descriptor);
#endif
}

}  // namespace

int resultsDescriptor() {
    return copyOfOutput;
}

StandardOutput::StandardOutput() : output_((holdStandardError(), copyOf(kOutput))), before_(std::cout.rdbuf(this)) {
    // What the library prints stands where it belongs among the lines of standard error.
    std::fflush(stdout);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    redirect(kOutput, kError);
    copyOfOutput = output_.number();
    setp(buffer_.data(), buffer_.data() + buffer_.size());
}

StandardOutput::~StandardOutput() {
    writeOut();
    std::cout.rdbuf(before_);
    std::fflush(stdout);
    redirect(kOutput, output_.number());
    copyOfOutput = kOutput;
}

int StandardOutput::overflow(int character) {
    if (!writeOut())
        return traits_type::eof();
    if (character != traits_type::eof()) {
        *pptr() = static_cast<char>(character);
        pbump(1);
    }
    return traits_type::not_eof(character);
}

int StandardOutput::sync() {
    return writeOut() ? 0 : -1;
}

bool StandardOutput::writeOut() {
    const bool isDone = output_.write({pbase(), static_cast<std::size_t>(pptr() - pbase())});
    setp(buffer_.data(), buffer_.data() + buffer_.size());
    return isDone;
}

}  // namespace qx::tool
