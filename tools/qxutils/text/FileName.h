#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// Names of files as the command line gives them: UTF-8 on Windows, and bytes of any kind elsewhere.

namespace qx::tool {

// A narrow text that is made into a path directly is read in the C library's locale on Windows.
std::filesystem::path toPath(const std::string& name);

// With '/' on every platform.
std::string toName(const std::filesystem::path& path);

// A text for one line of a terminal: what is no printable UTF-8, control characters among it, stands as \xNN.
std::string printable(std::string_view text);

// A text in UTF-8: other bytes stand as \xNN.
std::string inUtf8(std::string_view text);

// Whether a text is UTF-8 without other control characters than those between its words and lines.
bool isPlainText(std::string_view text);

// Whether a name ends so, in any case of letters: ".RAW" is ".raw".
bool hasEnding(std::string_view name, std::string_view ending);

// Writes "qxutils: " and the message as one line to standard error, even where memory is short.
void printErrorLine(const char* message) noexcept;

}  // namespace qx::tool
