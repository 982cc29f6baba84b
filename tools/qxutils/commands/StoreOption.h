#pragma once

#include "results/RecordSink.h"

#include <memory>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace qx::tool {

void addStoreOption(CLI::App& command, std::optional<std::string>& store);

class PanelStore;

// The store of this name, made where there is none; nothing without a name or in a dry run. Throws a ToolError for a
// name that is no store.
std::unique_ptr<PanelStore> openStore(const std::optional<std::string>& store);

// Keeps each record in the store of this name, or nothing where openStore opens none. Throws a ToolError where it
// cannot keep one.
RecordSink storeSink(const std::optional<std::string>& store);

}  // namespace qx::tool
