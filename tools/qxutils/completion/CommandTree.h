#pragma once

#include <string>
#include <vector>

// What the commands and options are called and what they are for, as the help has it.

namespace CLI {
class App;
}

namespace qx::tool {

struct DescribedOption {
    std::vector<std::string> names;  // with their dashes, or the one of a positional argument
    std::string description;
    bool isPositional = false;
    bool takesValue = true;
    std::vector<std::string> choices;  // none: a file or anything else
};

struct DescribedCommand {
    std::vector<std::string> path;  // {"check", "first"}; none for the program
    std::string description;
    std::vector<DescribedOption> options;
    std::vector<DescribedCommand> commands;

    std::string name() const { return path.empty() ? "" : path.back(); }
};

// The command and all below it.
DescribedCommand describeCommand(const CLI::App& app);

// The options of a command, and those above it that it does not have itself, which may stand behind it too.
std::vector<DescribedOption> withInherited(const DescribedCommand& command, const std::vector<DescribedOption>& above);

}  // namespace qx::tool
