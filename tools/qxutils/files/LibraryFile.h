#pragma once

#include <string>

// What the library asks of a path, and what it says about a file.

namespace qx::tool {

// A path as the library takes it: it joins a directory and a file name without adding a separator.
struct LibraryPath {
    std::string directory;
    std::string name;
};

// Throws a ToolError for a path that the library cannot take: it names files in the process's code page.
void requireLibraryName(const std::string& path);

// Throws a ToolError for such a path, and for one that is too long for the library.
LibraryPath toLibraryPath(const std::string& path);

// "status 1040: " and its message.
std::string statusText(int status);

}  // namespace qx::tool
