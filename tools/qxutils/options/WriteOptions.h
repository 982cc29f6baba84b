#pragma once

#include <string>

// The options that bound what the program writes, whatever the command.

namespace CLI {
class App;
}

namespace qx::tool {

// --dry-run and --no-clobber.
void addWriteOptions(CLI::App& app);

// For commands whose files the library writes as it goes. Both throw a ToolError.
void refuseDryRun(const std::string& command);
void requireFreshFolder(const std::string& folder);

}  // namespace qx::tool
