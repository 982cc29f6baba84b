#pragma once

#include <string>
#include <vector>

namespace qx::bench {

// Runs a program to its end, without input, its output dropped, and returns its exit code. Throws std::system_error
// when it cannot be started, std::runtime_error when a signal ends it.
int runProgram(const std::vector<std::string>& command);

}  // namespace qx::bench
