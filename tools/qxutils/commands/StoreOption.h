#pragma once

#include "results/RecordSink.h"

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace qx::tool {

void addStoreOption(CLI::App& command, std::optional<std::string>& store);

// Keeps each record in the store of this name, which it creates where there is none; does nothing without a name.
// Throws a ToolError for a name that is no store, and where it cannot keep a record.
RecordSink storeSink(const std::optional<std::string>& store);

}  // namespace qx::tool
