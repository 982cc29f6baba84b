#include "QxUtils/Foundation.h"

char* getQxUtilsDllVersion() {
    // The name takes 16 columns.
    static char text[] = "QxUtils :       " QXUTILS_VERSION;
    return text;
}
