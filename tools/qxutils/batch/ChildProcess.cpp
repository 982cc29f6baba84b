#include "batch/ChildProcess.h"

#include "batch/ChildVariables.h"
#include "text/Terminal.h"

#include <cstdlib>
#include <string_view>

namespace qx::tool {
namespace {

constexpr const char* kVariable = "QXUTILS_CHILD_PROCESS";
constexpr const char* kColoured = "coloured";

const char* valueAtStart = std::getenv(kVariable);

}  // namespace

bool isChildProcess() {
    return valueAtStart != nullptr;
}

std::map<std::string, std::string> childVariables() {
    return {{kVariable, colours() ? kColoured : "plain"}, {"COLUMNS", std::to_string(terminalWidth())}};
}

void lookAsParent() {
    chooseColours(valueAtStart == std::string_view(kColoured) ? ColourChoice::Always : ColourChoice::Never);
}

std::optional<std::string> ChildProcess::receiveLine() {
    std::size_t end = received_.find('\n');
    while (end == std::string::npos) {
        if (!receive())
            return std::nullopt;
        end = received_.find('\n');
    }
    std::string line = received_.substr(0, end);
    received_.erase(0, end + 1);
    return line;
}

}  // namespace qx::tool
