#include "batch/ChildProcess.h"
#include "commands/Command.h"
#include "common/DetectorSetup.h"
#include "common/StandardOutput.h"

#include <QxUtils/Foundation.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

int exitStatus(ExitCode code) {
    return static_cast<int>(code);
}

// Runs where memory may be short, so it takes none and throws nothing.
int reportError(const char* message, ExitCode code) noexcept {
    std::fflush(nullptr);
    std::fprintf(stderr, "qxutils: %s\n", message);
    return exitStatus(code);
}

// The command that the line got to, down to a command's own.
const CLI::App& lastCommand(const CLI::App& app) {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    return chosen.empty() ? app : lastCommand(*chosen.front());
}

std::string describeMistake(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    if (lastCommand(app).get_require_subcommand_min() > 0 && !unknown.empty())
        return "\"" + unknown.front() + "\" is neither a command nor an option";
    return error.what();
}

// Help goes to standard output and passes; every mistake is one line that ends in the way to the help.
int reportParseResult(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
        return app.exit(error);
    throw ToolError(describeMistake(app, error) + " (see qxutils --help)", ExitCode::Usage);
}

// Without settings no log appears in the folder that the user happens to be in.
void loadDetector(const std::optional<std::string>& file) {
    if (file)
        loadDetectorFile(*file);
    else if (hasVirtualDetector())
        virtualDetector().config.loggingEnabled = 0;
}

void flushOutput() {
    if (!std::cout.flush())
        throw ToolError("standard output cannot be written; check where it goes");
}

void describeProgram(CLI::App& app, std::optional<std::string>& detectorFile, Command& chosen) {
    app.name("qxutils");
    // A path may begin with '/' on Windows too. The commands inherit this.
    app.allow_windows_style_options(false);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--detector", detectorFile,
                   "TOML file with the settings of the virtual detector: its geometry, limits, and where to log");
    app.set_version_flag(
        "--version", [] { return std::string(getQxUtilsDllVersion()); }, "Print the version of the library and exit");
    app.footer("Exit codes: 0 passed, 1 failed, 2 usage, 3 verdict not passed.");
    addCommands(app, chosen);
}

int parseAndRun(int argc, char** argv) {
    CLI::App app{"Judges, shows and explains images of the flat-panel detector"};
    std::optional<std::string> detectorFile;
    Command chosen;
    describeProgram(app, detectorFile, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int status = reportParseResult(app, error);
        flushOutput();
        return status;
    }
    loadDetector(detectorFile);
    const ExitCode code = chosen();
    flushOutput();
    return exitStatus(code);
}

int run(int argc, char** argv) {
    try {
        return parseAndRun(argc, argv);
    } catch (const ToolError& error) {
        return reportError(error.what(), error.exitCode());
    } catch (const std::bad_alloc&) {
        return reportError("out of memory; use a smaller image", ExitCode::Failed);
    } catch (const std::exception& error) {
        return reportError(error.what(), ExitCode::Failed);
    }
}

}  // namespace
}  // namespace qx::tool

int main(int argc, char** argv) {
    qx::tool::rememberArguments(argc, argv);
    const qx::tool::StandardOutput results;
    return qx::tool::run(argc, argv);
}
