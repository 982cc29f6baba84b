#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

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

// The command that the command line chose, with its options bound.
using Command = std::function<ExitCode()>;

// Each declares a subcommand of app which, when chosen, stores itself in chosen.
void addDemoCommand(CLI::App& app, Command& chosen);
void addCheckCommand(CLI::App& app, Command& chosen);
void addSnrCommand(CLI::App& app, Command& chosen);
void addStripeCommand(CLI::App& app, Command& chosen);
void addFactorySnrCommand(CLI::App& app, Command& chosen);
void addNdtCommand(CLI::App& app, Command& chosen);
void addFilterCommand(CLI::App& app, Command& chosen);
void addResizeCommand(CLI::App& app, Command& chosen);
void addInfoCommand(CLI::App& app, Command& chosen);
void addDefectsCommand(CLI::App& app, Command& chosen);
void addPreviewCommand(CLI::App& app, Command& chosen);
void addBase64Command(CLI::App& app, Command& chosen);
void addExplainCommand(CLI::App& app, Command& chosen);
void addVersionCommand(CLI::App& app, Command& chosen);

}  // namespace qx::tool
