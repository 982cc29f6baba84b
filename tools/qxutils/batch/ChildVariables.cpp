#include "batch/ChildVariables.h"

#include "batch/ChildProcess.h"
#include "common/Terminal.h"

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

}  // namespace qx::tool
