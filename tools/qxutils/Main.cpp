#include "batch/ChildProcess.h"
#include "commands/Command.h"
#include "detector/DetectorSetup.h"
#include "files/NativeFile.h"
#include "files/StandardOutput.h"
#include "options/Choice.h"
#include "options/Help.h"
#include "options/Mistake.h"
#include "options/WriteOptions.h"
#include "text/FileName.h"
#include "text/Terminal.h"
#include "text/TextStream.h"

#include <QxUtils/Foundation.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::tool {
namespace {

int exitStatus(ExitCode code) {
    return static_cast<int>(code);
}

// Runs where memory may be short, so it takes none and throws nothing.
int reportError(const char* message, ExitCode code) noexcept {
    std::fflush(nullptr);
    printErrorLine(message);
    return exitStatus(code);
}

std::string helpText(const CLI::App& app, const CLI::ParseError& error) {
    TextStream text;
    app.exit(error, text);
    return text.str();
}

// Help goes to standard output and passes; every mistake is one line that ends in the way to the help.
int reportParseResult(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
        // Without memory a help may lack a piece.
        const std::string help = helpText(app, error);
        if (help != helpText(app, error))
            throw std::bad_alloc();
        std::cout << help;
        return exitStatus(ExitCode::Passed);
    }
    throw ToolError(describeMistake(app, error), ExitCode::Usage);
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
    app.formatter(std::make_shared<Help>());
    // A path may begin with '/' on Windows too. The commands inherit this.
    app.allow_windows_style_options(false);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--detector", detectorFile,
                   "TOML file with the settings of the virtual detector: its geometry, limits, and where to log")
        ->type_name("FILE");
    takeOneOf<ColourChoice>(
        app.add_option_function<ColourChoice>(
            "--color", chooseColours,
            "Whether results are coloured; auto: on a terminal, unless NO_COLOR is set or TERM is dumb"),
        {{"auto", ColourChoice::Auto}, {"always", ColourChoice::Always}, {"never", ColourChoice::Never}});
    app.set_version_flag(
        "--version", [] { return std::string(getQxUtilsDllVersion()); }, "Print the version of the library and exit");
    addWriteOptions(app);
    // The commands inherit what the footer is when they are added.
    const std::string exitCodes = "Exit codes: 0 passed, 1 failed, 2 usage, 3 verdict not passed.";
    app.footer("The options of qxutils, such as --color and --dry-run, may stand here too: see qxutils --help.\n\n" +
               exitCodes);
    addCommands(app, chosen);
    app.footer(exitCodes);
}

// What follows the program's name. "--name=" becomes two words, the second one empty: the parser would take the next
// word for its value, which may be the name of an image.
std::vector<std::string> wordsOf(int argc, char** argv) {
    std::vector<std::string> words;
    bool endsOptions = false;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        endsOptions = endsOptions || word == "--";
        const bool lacksValue = !endsOptions && word.starts_with("--") && word.find('=') + 1 == word.size();
        words.emplace_back(lacksValue ? word.substr(0, word.size() - 1) : word);
        if (lacksValue)
            words.emplace_back();
    }
    return words;
}

int parseAndRun(int argc, char** argv) {
    CLI::App app{"Judges, shows and explains images of the flat-panel detector"};
    std::optional<std::string> detectorFile;
    Command chosen;
    describeProgram(app, detectorFile, chosen);
    try {
        std::vector<std::string> words = wordsOf(argc, argv);
        std::ranges::reverse(words);  // as the parser wants them
        app.parse(words);
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
    return qx::tool::run(argc, qx::tool::nativeArguments(argv));
}
