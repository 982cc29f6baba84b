#pragma once

#include <string>
#include <string_view>

// Where standard output goes, and what it can show there. Both are looked up when the program starts, before anything
// sends standard output elsewhere.

namespace qx::tool {

// When results are coloured: on a terminal unless NO_COLOR is set to anything, always, or never.
enum class ColourChoice { Auto, Always, Never };

// Green for what passed, red for what did not, yellow for a warning.
enum class TextColour { Plain, Green, Red, Yellow };

void chooseColours(ColourChoice choice);

// Whether results are coloured, by the choice made.
bool colours();

// The text in a colour, or as it is where results are not coloured.
std::string coloured(std::string_view text, TextColour colour);

// Whether somebody sees results as they are written.
bool isTerminal();

// Characters a line may have: what the variable COLUMNS says, else as wide as the terminal is, 80 without one.
int terminalWidth();

}  // namespace qx::tool
