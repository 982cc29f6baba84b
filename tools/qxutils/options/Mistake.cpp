#include "options/Mistake.h"

#include "text/Suggestion.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string_view>
#include <vector>

namespace qx::tool {
namespace {

// The command that the line got to, down to a command's own.
const CLI::App& lastCommand(const CLI::App& app) {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    return chosen.empty() ? app : lastCommand(*chosen.front());
}

// "qxutils check first".
std::string fullName(const CLI::App& command) {
    const CLI::App* const parent = command.get_parent();
    return (parent == nullptr ? "" : fullName(*parent) + " ") + command.get_name();
}

std::vector<std::string> commandNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* below : command.get_subcommands(std::function<bool(const CLI::App*)>()))
        names.push_back(below->get_name());
    return names;
}

// Those of the command, which come first, and of those above it.
std::vector<std::string> optionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
        for (const CLI::Option* option : app->get_options()) {
            for (const std::string& name : option->get_lnames())
                names.push_back("--" + name);
        }
    }
    return names;
}

// "help" is meant as an option.
std::vector<std::string> commandAndOptionNames(const CLI::App& command) {
    std::vector<std::string> names = commandNames(command);
    std::ranges::copy(optionNames(command), std::back_inserter(names));
    return names;
}

// A negative number is none, and what ends the options neither.
bool looksLikeOption(std::string_view word) {
    return word.size() > 1 && word[0] == '-' && word != "--" && word[1] != '.' &&
           !std::isdigit(static_cast<unsigned char>(word[1]));
}

std::string describeOption(const CLI::App& command, const std::string& word) {
    const std::string name = word.substr(0, word.find('='));
    const std::vector<std::string> names = optionNames(command);
    if (std::ranges::find(names, name) != names.end())
        return "\"" + name + "\" stands before its command; give it behind \"" + fullName(command) + "\"";
    return "\"" + name + "\" is no option of \"" + fullName(command) + "\"" + didYouMean(name, names);
}

bool isUnknownWord(const CLI::ParseError& error) {
    const int code = error.get_exit_code();
    return code == static_cast<int>(CLI::ExitCodes::ExtrasError) ||
           code == static_cast<int>(CLI::ExitCodes::RequiredError);
}

std::string describeCause(const CLI::App& app, const CLI::App& command, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    const auto option = std::ranges::find_if(unknown, looksLikeOption);
    if (isUnknownWord(error) && option != unknown.end())
        return describeOption(command, *option);
    if (command.get_require_subcommand_min() > 0 && !unknown.empty())
        return "\"" + unknown.front() + "\" is neither a command nor an option" +
               didYouMean(unknown.front(), commandAndOptionNames(command));
    return error.what();
}

}  // namespace

std::string describeMistake(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App& command = lastCommand(app);
    return describeCause(app, command, error) + " (see " + fullName(command) + " --help)";
}

}  // namespace qx::tool
