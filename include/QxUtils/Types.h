#pragma once

#include <cstdint>

// A raw detector pixel: 16-bit unsigned counts. Declared as the platform's own header declares it.
using WORD = unsigned short;
static_assert(sizeof(WORD) == 2);
