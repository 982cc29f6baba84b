#pragma once

#include "batch/Batch.h"

#include <optional>
#include <string>

// The options by which commands take many files and tell their results.

namespace CLI {
class App;
}

namespace qx::tool {

// --format.
void addResultOptions(CLI::App& command, ResultOptions& options);

// --format, and --store for commands whose measures tell about a panel.
void addPanelOptions(CLI::App& command, ResultOptions& options);

// FILE... and --recursive.
void addFileNames(CLI::App& command, BatchOptions& options, const std::string& wanted);

// The same, --jobs, --quiet and --format.
void addBatchOptions(CLI::App& command, BatchOptions& options, const std::string& wanted);

// --limits.
void addLimitsOption(CLI::App& command, std::optional<std::string>& limits);

// --store.
void addStoreOption(CLI::App& command, std::optional<std::string>& store);

}  // namespace qx::tool
