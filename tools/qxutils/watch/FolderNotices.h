#pragma once

#include "watch/FolderWatch.h"

namespace qx::tool {

// A watch by the system's notices; nothing where the system has none to give for this folder.
std::unique_ptr<FolderWatch> noticesOf(const std::string& folder, bool wantsExisting);

}  // namespace qx::tool
