#include "commands/Command.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <iostream>

namespace qx::tool {

void addVersionCommand(CLI::App& app, Command& chosen) {
    app.add_subcommand("version", "Print the version of the library")->callback([&chosen] {
        chosen = [] {
            std::cout << getQxUtilsDllVersion() << '\n';
            return ExitCode::Passed;
        };
    });
}

}  // namespace qx::tool
