#include "completion/CommandTree.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>

namespace qx::tool {
namespace {

// Those of a list such as "{bash,zsh}", as the help shows it.
std::vector<std::string> choicesOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    if (!type.starts_with('{'))
        return {};
    std::vector<std::string> choices = {""};
    for (const char letter : type.substr(1, type.size() - 2)) {
        if (letter == ',')
            choices.emplace_back();
        else
            choices.back() += letter;
    }
    return choices;
}

DescribedOption describeOption(const CLI::Option& option) {
    DescribedOption described;
    described.description = option.get_description();
    described.isPositional = option.get_positional();
    described.takesValue = option.get_items_expected_max() > 0;
    described.choices = choicesOf(option);
    for (const std::string& name : option.get_lnames())
        described.names.push_back("--" + name);
    for (const std::string& name : option.get_snames())
        described.names.push_back("-" + name);
    if (described.isPositional)
        described.names = {option.get_name(true)};
    return described;
}

DescribedCommand describeBelow(const CLI::App& app, const std::vector<std::string>& path) {
    DescribedCommand described{path, app.get_description(), {}, {}};
    for (const CLI::Option* option : app.get_options())
        described.options.push_back(describeOption(*option));
    for (const CLI::App* below : app.get_subcommands(std::function<bool(const CLI::App*)>())) {
        std::vector<std::string> further = path;
        further.push_back(below->get_name());
        described.commands.push_back(describeBelow(*below, further));
    }
    return described;
}

}  // namespace

DescribedCommand describeCommand(const CLI::App& app) {
    return describeBelow(app, {});
}

std::vector<DescribedOption> withInherited(const DescribedCommand& command, const std::vector<DescribedOption>& above) {
    std::vector<DescribedOption> options = command.options;
    for (const DescribedOption& option : above) {
        if (std::ranges::find(command.options, option.names, &DescribedOption::names) == command.options.end())
            options.push_back(option);
    }
    return options;
}

}  // namespace qx::tool
