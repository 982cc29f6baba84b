#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Words and lines: how much of a line a text takes. A character of UTF-8 is one place, a wide one two, one that
// combines none.

namespace qx::tool {

std::size_t textWidth(std::string_view text);

// The widest of the words between blanks.
std::size_t widestWord(std::string_view text);

// Lines of at most width, broken at blanks; only a word wider than that is cut, a path behind a folder.
std::vector<std::string> wrapText(std::string_view text, std::size_t width);

// "check first", or another text between the words.
std::string joined(const std::vector<std::string>& words, const char* between = " ");

}  // namespace qx::tool
