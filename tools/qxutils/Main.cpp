#include "Command.h"

#include <VirtualDetector.h>

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

int exitStatus(ExitCode code) {
    return static_cast<int>(code);
}

int reportError(const std::string& message, ExitCode code) {
    std::cout.flush();
    std::cerr << "qxutils: " << message << '\n';
    return exitStatus(code);
}

std::string describeMistake(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining();
    if (app.get_subcommands().empty() && !unknown.empty())
        return "\"" + unknown.front() + "\" is neither a command nor an option";
    return error.what();
}

// Help goes to standard output and passes; every mistake is one line that ends in the way to the help.
int reportParseResult(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
        return app.exit(error);
    return reportError(describeMistake(app, error) + " (see qxutils --help)", ExitCode::Usage);
}

// Without settings no log appears in the folder that the user happens to be in.
void loadDetector(const std::string& file) {
    if (file.empty()) {
        qxkit::virtualDetector().config.loggingEnabled = 0;
        return;
    }
    const std::string problem = qxkit::loadVirtualDetector(file);
    if (!problem.empty())
        throw ToolError(problem + "; give a TOML file with settings of the virtual detector");
}

int runCommand(const Command& chosen, const std::string& detectorFile) {
    try {
        loadDetector(detectorFile);
        const ExitCode code = chosen();
        if (!std::cout.flush())
            throw ToolError("standard output cannot be written; check where it goes");
        return exitStatus(code);
    } catch (const ToolError& error) {
        return reportError(error.what(), error.exitCode());
    } catch (const std::bad_alloc&) {
        return reportError("out of memory; use a smaller image", ExitCode::Failed);
    } catch (const std::exception& error) {
        return reportError(error.what(), ExitCode::Failed);
    }
}

void describeProgram(CLI::App& app, std::string& detectorFile, Command& chosen) {
    app.name("qxutils");
    // A path may begin with '/' on Windows too. The commands inherit this.
    app.allow_windows_style_options(false);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--detector", detectorFile,
                   "TOML file with the settings of the virtual detector: its geometry, limits, and where to log");
    app.footer("Exit codes: 0 passed, 1 failed, 2 usage, 3 verdict not passed.");
    addDemoCommand(app, chosen);
    addSnrCommand(app, chosen);
    addInfoCommand(app, chosen);
    addPreviewCommand(app, chosen);
    addExplainCommand(app, chosen);
    addVersionCommand(app, chosen);
}

int run(int argc, char** argv) {
    CLI::App app{"Judges, shows and explains images of the flat-panel detector"};
    std::string detectorFile;
    Command chosen;
    describeProgram(app, detectorFile, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return reportParseResult(app, error);
    }
    return runCommand(chosen, detectorFile);
}

}  // namespace
}  // namespace qx::tool

int main(int argc, char** argv) {
    return qx::tool::run(argc, argv);
}
