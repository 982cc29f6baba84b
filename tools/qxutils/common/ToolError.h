#pragma once

#include <stdexcept>
#include <string>
#include <vector>

// How the program ends when it cannot do what it was told.

namespace qx::tool {

// What the program tells its caller; scripts rely on the numbers.
enum class ExitCode : int {
    Passed = 0,
    Failed = 1,
    Usage = 2,
    NotPassed = 3,
};

// Ends the program with one line on standard error: what went wrong and what to do.
class ToolError : public std::runtime_error {
public:
    explicit ToolError(const std::string& message, ExitCode exitCode = ExitCode::Failed)
        : std::runtime_error(message), exitCode_(exitCode) {}

    ExitCode exitCode() const { return exitCode_; }

private:
    ExitCode exitCode_;
};

// Does work on a file, and lets a ToolError tell which file it was about unless it begins with another one's name.
template <class Work>
auto aboutFile(const std::string& file, const Work& work, const std::vector<std::string>& others = {}) {
    try {
        return work();
    } catch (const ToolError& error) {
        const std::string message = error.what();
        for (const std::string& other : others) {
            if (message.starts_with(other))
                throw;
        }
        throw ToolError(file + ": " + message, error.exitCode());
    }
}

}  // namespace qx::tool
