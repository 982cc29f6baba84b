#include "QxUtils/Foundation.h"

#include <cstdio>

namespace {

char versionText[64];

}  // namespace

char* getQxUtilsDllVersion() {
    std::snprintf(versionText, sizeof versionText, "%-16s%s", "QxUtils :", QXUTILS_VERSION);
    return versionText;
}
