#pragma once

#include "QxUtils/Types.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace qx {

// An entry of a directory listing as callers of the library get it.
using DirectoryRecord = ::_WIN32_FIND_DATAA;

}  // namespace qx
