#include "text/Terminal.h"

#include "text/NumberText.h"

#include <cstdlib>
#include <optional>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace qx::tool {
namespace {

constexpr int kUsualWidth = 80;

struct Terminal {
    bool isTerminal = false;
    int width = kUsualWidth;
};

#if defined(_WIN32)
// A console shows colours once it is told to read the codes.
Terminal lookAtTerminal() {
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    CONSOLE_SCREEN_BUFFER_INFO buffer;
    if (GetConsoleMode(console, &mode) == 0 ||
        SetConsoleMode(console, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING) == 0)
        return {};
    const bool isKnown = GetConsoleScreenBufferInfo(console, &buffer) != 0;
    return {true, isKnown ? buffer.srWindow.Right - buffer.srWindow.Left + 1 : kUsualWidth};
}
#else
Terminal lookAtTerminal() {
    if (isatty(STDOUT_FILENO) == 0)
        return {};
    winsize size = {};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return {true, isKnown ? size.ws_col : kUsualWidth};
}
#endif

const Terminal kTerminal = lookAtTerminal();

ColourChoice colourChoice = ColourChoice::Auto;

std::string_view environmentText(const char* name) {
    const char* const text = std::getenv(name);
    return text == nullptr ? "" : text;
}

std::string_view codeOf(TextColour colour) {
    switch (colour) {
    case TextColour::Green:
        return "\x1b[32m";
    case TextColour::Red:
        return "\x1b[31m";
    case TextColour::Yellow:
        return "\x1b[33m";
    case TextColour::Plain:
        break;
    }
    return "";
}

}  // namespace

void chooseColours(ColourChoice choice) {
    colourChoice = choice;
}

bool colours() {
    if (colourChoice == ColourChoice::Auto)
        return kTerminal.isTerminal && environmentText("NO_COLOR").empty() && environmentText("TERM") != "dumb";
    return colourChoice == ColourChoice::Always;
}

std::string coloured(std::string_view text, TextColour colour) {
    const std::string_view code = codeOf(colour);
    if (text.empty() || code.empty() || !colours())
        return std::string(text);
    return std::string(code).append(text).append("\x1b[0m");
}

bool isTerminal() {
    return kTerminal.isTerminal;
}

int terminalWidth() {
    const std::optional<int> columns = parseInteger(environmentText("COLUMNS"));
    return columns && *columns > 0 ? *columns : kTerminal.width;
}

}  // namespace qx::tool
