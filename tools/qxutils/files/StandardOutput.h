#pragma once

#include "files/NativeFile.h"

#include <array>
#include <streambuf>

namespace qx::tool {

// The descriptor that results go to: standard output's own, or its copy while a StandardOutput lives.
int resultsDescriptor();

// Keeps standard output for results: while it lives, std::cout writes to where standard output went, and what the
// library prints on its own goes to standard error.
class StandardOutput : private std::streambuf {
public:
    StandardOutput();
    ~StandardOutput() override;
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

private:
    int overflow(int character) override;
    int sync() override;
    bool writeOut();

    Descriptor output_;
    std::streambuf* before_;
    std::array<char, 1 << 16> buffer_;
};

}  // namespace qx::tool
