#pragma once

#include "store/PanelStore.h"

#include <memory>
#include <optional>
#include <string>

namespace qx::tool {

// The store of this name, made where there is none; nothing without a name or in a dry run. Throws a ToolError for a
// name that is no store.
std::unique_ptr<PanelStore> openStore(const std::optional<std::string>& store);

}  // namespace qx::tool
