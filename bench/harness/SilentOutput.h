#pragma once

// Standard output of functions that print whatever they are asked.

namespace qx::bench {

// Lets what the process prints on standard output vanish while the object exists. Everything printed before still
// arrives. Throws std::system_error when that is impossible.
class SilentOutput {
public:
    SilentOutput();
    ~SilentOutput();
    SilentOutput(const SilentOutput&) = delete;
    SilentOutput& operator=(const SilentOutput&) = delete;

private:
    int output_;
};

// Standard output is written in large pieces, also to a terminal, so that a printed line does not cost a system call.
// Call before anything is printed.
void bufferOutput();

}  // namespace qx::bench
