#pragma once

#include <string>
#include <utility>

namespace qx::tool {

// A number with as few digits as tell it: those of single precision where it has no more.
std::string shortText(double value);

// A value with a number of decimals, or with more where it needs them to be seen to stand to the limit, which is shown
// by shortText, as it does.
std::string textBeside(double value, double limit, int decimals);

// Two numbers with the same number of decimals, more where they need them to be seen to compare as they do.
std::pair<std::string, std::string> textsCompared(double first, double second, int decimals);

}  // namespace qx::tool
