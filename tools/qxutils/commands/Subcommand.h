#pragma once

#include "commands/Command.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <utility>

// How a command declares itself: its name and description, where its options go, and what runs with them.

namespace qx::tool {

// Adds a command below parent which, when chosen, stores run with the options in chosen.
template <class Options>
CLI::App& addSubcommand(CLI::App& parent, Command& chosen, const char* name, const char* description,
                        std::shared_ptr<Options> options, std::function<ExitCode(const Options&)> run) {
    CLI::App* command = parent.add_subcommand(name, description);
    command->callback([options = std::move(options), run = std::move(run), &chosen] {
        chosen = [options, run] { return run(*options); };
    });
    return *command;
}

// A command and where its options go.
template <class Options>
struct Subcommand {
    CLI::App& command;
    Options& options;
};

template <class Options>
Subcommand<Options> addSubcommand(CLI::App& app, Command& chosen, const char* name, const char* description,
                                  ExitCode (*run)(const Options&)) {
    const auto options = std::make_shared<Options>();
    return {addSubcommand<Options>(app, chosen, name, description, options, run), *options};
}

// A command that is only a name for others below it, such as "filter", which share their options.
template <class Options>
class CommandFamily {
public:
    CommandFamily(CLI::App& app, Command& chosen, const char* name, const char* description)
        : parent_(*app.add_subcommand(name, description)), chosen_(chosen) {
        parent_.require_subcommand(1);
    }

    CLI::App& add(const char* name, const char* description, std::function<ExitCode(const Options&)> run) {
        return addSubcommand<Options>(parent_, chosen_, name, description, options_, std::move(run));
    }

    Options& options() { return *options_; }

private:
    CLI::App& parent_;
    Command& chosen_;
    std::shared_ptr<Options> options_ = std::make_shared<Options>();
};

}  // namespace qx::tool
