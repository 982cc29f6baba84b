#include "commands/Subcommand.h"
#include "common/NumberText.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

template <class Visit>
void visitCodes(Visit visit) {
    for (int index = 0; getStatusCodeAt(index) >= 0; ++index)
        visit(getStatusCodeAt(index));
}

// Codes that begin with the same thousand, from the first to the last one.
struct CodeRange {
    int first;
    int last;
};

std::vector<CodeRange> codeRanges() {
    std::vector<CodeRange> ranges;
    visitCodes([&](int code) {
        if (ranges.empty() || code / 1000 != ranges.back().first / 1000)
            ranges.push_back({code, code});
        ranges.back().last = code;
    });
    return ranges;
}

bool isInRange(int code) {
    return std::ranges::any_of(codeRanges(),
                               [=](const CodeRange& range) { return code >= range.first && code <= range.last; });
}

// "codes run from 0 to 58 and from 1000 to 1094".
std::string rangesText() {
    std::string text = "codes run";
    for (const CodeRange& range : codeRanges()) {
        text += text.ends_with("run") ? " from " : " and from ";
        text += std::to_string(range.first) + " to " + std::to_string(range.last);
    }
    return text;
}

int parseCode(const std::string& text) {
    const std::optional<int> code = parseInteger(text);
    if (!code || !isInRange(*code))
        throw ToolError("\"" + text + "\" is not a status code; " + rangesText(), ExitCode::Usage);
    return *code;
}

void explain(int code) {
    const char* message = getStatusMessage(code);
    if (message == nullptr)
        throw ToolError(std::to_string(code) + " was never assigned; nothing returns it");
    std::cout << code << "  " << message << '\n';
}

// The codes that are named, or all of them.
ExitCode explainCodes(const std::vector<std::string>& codes) {
    if (codes.empty())
        visitCodes(explain);
    for (const std::string& text : codes)
        explain(parseCode(text));
    return ExitCode::Passed;
}

}  // namespace

void addExplainCommand(CLI::App& app, Command& chosen) {
    auto [command, codes] = addSubcommand<std::vector<std::string>>(
        app, chosen, "explain", "Print the message of status codes, or of all of them", explainCodes);
    command.add_option("CODE", codes, "Status codes, such as 1088");
}

}  // namespace qx::tool
