#pragma once

#include <QxUtils/Types.h>

namespace qx::plain {

// Resampling by natural cubic splines, every line on its own, in single precision: what the library's resampling is
// compared with, and the plain method of the benchmarks. Images are flat; pointers are valid and sizes at least 1.
void interpImg2D(WORD* out, int outRows, int outColumns, const WORD* in, int inRows, int inColumns);

}  // namespace qx::plain
