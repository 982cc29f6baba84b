#include "Command.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <vector>

namespace qx::tool {
namespace {

ExitCode explain(const std::vector<int>& codes) {
    for (const int code : codes) {
        const char* message = getStatusMessage(code);
        if (message == nullptr) {
            throw ToolError(std::to_string(code) +
                            " is not a status code; they run from 0 to 58 and from 1000 to 1094");
        }
        std::cout << code << "  " << message << '\n';
    }
    return ExitCode::Passed;
}

}  // namespace

void addExplainCommand(CLI::App& app, Command& chosen) {
    auto codes = std::make_shared<std::vector<int>>();
    CLI::App* command = app.add_subcommand("explain", "Print the message of status codes");
    command->add_option("CODE", *codes, "Status codes, such as 1088")->required();
    command->callback([codes, &chosen] { chosen = [codes] { return explain(*codes); }; });
}

}  // namespace qx::tool
