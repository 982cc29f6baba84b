#include "files/DirectoryText.h"

#include "foundation/Diagnostics.h"

namespace qx {

void reportMissingDirectory() noexcept {
    printDebug(
        "Work Directory String Error,Please insure that Path is right and use '\\\\' instead of '\\' to separate "
        "the directories.\n");
}

}  // namespace qx
