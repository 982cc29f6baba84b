#pragma once

// Status codes of the kit's common set that the substitutes give.

namespace qxkit {

enum KitStatus : int {
    kSuccess = 0,
    kBadArgument = 1020,
    kNoMemory = 1035,
    kOpenFailed = 1039,
    kWriteFailed = 1041,
    kNullArgument = 1057,
};

}  // namespace qxkit
