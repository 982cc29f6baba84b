#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Every function throws a ToolError of one line that names what stands in the way and what to do.

namespace qx::tool {

// Refuses the empty name; wanted says what to give, as in "a raw image file".
void requireName(const std::string& path, const std::string& wanted);

// Length of a regular file in bytes.
std::int64_t fileBytes(const std::string& path, const std::string& wanted, const char* insteadOfPipe = "a file");

inline constexpr const char* kFileOrStream = "a file, or - to read standard input";

// Refuses what is no folder.
void requireFolder(const std::string& path, const std::string& wanted);

// Refuses an output that would overwrite the file it is made from, under whatever name, or one that must not be
// replaced.
void requireOtherFile(const std::string& output, const std::string& input);

// The same for every pair, and for two outputs.
void requireDistinct(const std::vector<std::string>& outputs, const std::vector<std::string>& inputs);

// Makes a folder and those above it; nothing to do when it is there.
void createFolder(const std::string& path);

// Writes a file, which appears whole or not at all (WholeFile.h).
void writeFile(const std::string& path, std::string_view content);

}  // namespace qx::tool
