#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Every function throws a ToolError of one line that names what stands in the way and what to do.

namespace qx::tool {

// Refuses the empty name; wanted says what to give, as in "a raw image file".
void requireName(const std::string& path, const std::string& wanted);

// Length of a regular file in bytes.
std::int64_t fileBytes(const std::string& path, const std::string& wanted);

// Refuses what is no folder.
void requireFolder(const std::string& path, const std::string& wanted);

// Refuses an output that would overwrite the file it is made from, under whatever name.
void requireOtherFile(const std::string& output, const std::string& input);

// Makes a folder and those above it; nothing to do when it is there.
void createFolder(const std::string& path);

// Writes a file; done only when all of the content has reached it.
void writeFile(const std::string& path, std::string_view content);

}  // namespace qx::tool
