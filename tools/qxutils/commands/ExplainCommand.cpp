#include "commands/Subcommand.h"
#include "text/NumberText.h"
#include "text/Suggestion.h"
#include "text/TextTable.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
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

const char* messageOf(int code) {
    const char* const message = getStatusMessage(code);
    if (message == nullptr)
        throw ToolError(std::to_string(code) + " was never assigned; nothing returns it");
    return message;
}

struct StatusName {
    int code;
    const char* name;
};

constexpr StatusName kNames[] = {
#include "StatusNames.inc"
};

// Older codes have none.
std::string nameOf(int code) {
    const auto found = std::ranges::find(kNames, code, &StatusName::code);
    return found == std::end(kNames) ? "" : found->name;
}

std::string lowered(std::string_view text) {
    std::string letters(text);
    std::ranges::transform(letters, letters.begin(), [](unsigned char letter) { return std::tolower(letter); });
    return letters;
}

// The code of "SnrLow" or "StatusSnrLow", in any case of letters.
std::optional<int> codeNamed(const std::string& name) {
    const auto found = std::ranges::find_if(kNames, [&](const StatusName& status) {
        const std::string full = lowered(status.name);
        return full == name || full == "status" + name;
    });
    return found == std::end(kNames) ? std::nullopt : std::optional(found->code);
}

// Those in whose name or message a text occurs.
std::vector<int> codesAbout(const std::string& text) {
    std::vector<int> codes;
    visitCodes([&](int code) {
        const char* const message = getStatusMessage(code);
        if (message != nullptr && lowered(nameOf(code) + "\n" + message).find(text) != std::string::npos)
            codes.push_back(code);
    });
    return codes;
}

std::vector<std::string> shortNames() {
    std::vector<std::string> names;
    for (const StatusName& status : kNames)
        names.emplace_back(std::string_view(status.name).substr(std::string_view("Status").size()));
    return names;
}

int codeOfNumber(const std::string& text, int number) {
    if (!isInRange(number))
        throw ToolError("\"" + text + "\" is not a status code; " + rangesText(), ExitCode::Usage);
    return number;
}

std::vector<int> codesOf(const std::string& text) {
    if (const std::optional<int> number = parseInteger(text))
        return {codeOfNumber(text, *number)};
    const std::string sought = lowered(text);
    if (const std::optional<int> named = codeNamed(sought))
        return {*named};
    const std::vector<int> codes = codesAbout(sought);
    if (text.empty() || codes.empty())
        throw ToolError("\"" + text + "\" is not a status code; " + rangesText() +
                            ", and no name or message has this text" + didYouMean(text, shortNames()),
                        ExitCode::Usage);
    return codes;
}

std::vector<int> codesOfAll(const std::vector<std::string>& texts) {
    std::vector<int> codes;
    for (const std::string& text : texts) {
        for (const int code : codesOf(text)) {
            if (std::ranges::find(codes, code) == codes.end())
                codes.push_back(code);
        }
    }
    return codes;
}

TextColour colourOf(int code) {
    if (code == StatusOk)
        return TextColour::Green;
    return std::string_view(messageOf(code)).starts_with("Warning") ? TextColour::Yellow : TextColour::Plain;
}

void printTable(const std::vector<int>& codes) {
    TextTable table({"code", "name", "message"});
    table.alignLeft({1, 2});
    for (const int code : codes)
        table.addRow({std::to_string(code), nameOf(code), messageOf(code)}, {{0, colourOf(code)}});
    table.print(std::cout);
}

void printLines(const std::vector<int>& codes) {
    for (const int code : codes) {
        const char* const message = messageOf(code);
        std::cout << code << "  " << message << '\n';
    }
}

bool isNumber(const std::string& text) {
    return parseInteger(text).has_value();
}

// The codes that are meant, or all of them. Those given as numbers alone are a line each, for scripts.
ExitCode explain(const std::vector<std::string>& texts) {
    std::vector<int> codes = codesOfAll(texts);
    if (texts.empty())
        visitCodes([&](int code) { codes.push_back(code); });
    if (!texts.empty() && std::ranges::all_of(texts, isNumber))
        printLines(codes);
    else
        printTable(codes);
    return ExitCode::Passed;
}

}  // namespace

void addExplainCommand(CLI::App& app, Command& chosen) {
    auto [command, texts] = addSubcommand<std::vector<std::string>>(
        app, chosen, "explain", "Print the message of status codes, or of all of them", explain);
    command.add_option("CODE", texts, "Status codes, such as 1088, their names, such as SnrLow, or words of either");
}

}  // namespace qx::tool
