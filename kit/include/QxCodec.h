#pragma once

// Contract of the kit's codec library, as far as QxUtils imports it.

#include "QxKitExport.h"

// Copies count bytes from source to destination in reverse order. The two must not overlap.
QXKIT_API void reverseCopy(void* destination, const void* source, int count);
