#include "commands/Subcommand.h"
#include "completion/Scripts.h"
#include "options/Choice.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

namespace qx::tool {
namespace {

enum class Shell { Bash, Zsh, Fish };

void writeScript(Shell shell, const DescribedCommand& program) {
    switch (shell) {
    case Shell::Bash:
        return writeBashScript(std::cout, program);
    case Shell::Zsh:
        return writeZshScript(std::cout, program);
    case Shell::Fish:
        return writeFishScript(std::cout, program);
    }
}

}  // namespace

void addCompletionCommand(CLI::App& app, Command& chosen) {
    const auto options = std::make_shared<Shell>();
    CLI::App& command = addSubcommand<Shell>(app, chosen, "completion",
                                             "Print the script by which a shell completes commands and options",
                                             options, [&app](const Shell& shell) {
                                                 writeScript(shell, describeCommand(app));
                                                 return ExitCode::Passed;
                                             });
    takeOneOf<Shell>(command.add_option("SHELL", *options, "The shell that is to source the script")->required(),
                     {{"bash", Shell::Bash}, {"zsh", Shell::Zsh}, {"fish", Shell::Fish}});
}

}  // namespace qx::tool
