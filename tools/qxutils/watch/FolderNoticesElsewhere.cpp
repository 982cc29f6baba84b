#ifndef __linux__

#include "watch/FolderNotices.h"

namespace qx::tool {

std::unique_ptr<FolderWatch> noticesOf(const std::string& /*folder*/, bool /*wantsExisting*/) {
    return nullptr;
}

}  // namespace qx::tool

#endif
