#pragma once

#include "common/ToolError.h"

#include <functional>

// What a command is to the program, and where all of them are found.

namespace CLI {
class App;
}

namespace qx::tool {

// The command that the command line chose, with its options bound.
using Command = std::function<ExitCode()>;

// Declares a subcommand of app which, when chosen, stores itself in chosen.
using AddCommand = void(CLI::App& app, Command& chosen);

// Adds every command, in the order of the help.
AddCommand addCommands;

}  // namespace qx::tool
