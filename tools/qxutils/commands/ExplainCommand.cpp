#include "commands/Subcommand.h"
#include "common/NumberText.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

constexpr const char* kRanges = "codes run from 0 to 58 and from 1000 to 1094";

bool isInRange(int code) {
    return (code >= 0 && code <= 58) || (code >= 1000 && code <= 1094);
}

int parseCode(const std::string& text) {
    const std::optional<int> code = parseInteger(text);
    if (!code || !isInRange(*code))
        throw ToolError("\"" + text + "\" is not a status code; " + kRanges, ExitCode::Usage);
    return *code;
}

ExitCode explain(const std::vector<std::string>& codes) {
    for (const std::string& text : codes) {
        const int code = parseCode(text);
        const char* message = getStatusMessage(code);
        if (message == nullptr)
            throw ToolError(std::to_string(code) + " was never assigned; nothing returns it");
        std::cout << code << "  " << message << '\n';
    }
    return ExitCode::Passed;
}

}  // namespace

void addExplainCommand(CLI::App& app, Command& chosen) {
    auto [command, codes] =
        addSubcommand<std::vector<std::string>>(app, chosen, "explain", "Print the message of status codes", explain);
    command.add_option("CODE", codes, "Status codes, such as 1088")->required();
}

}  // namespace qx::tool
