#pragma once

#include <QxUtils/Types.h>

// The filters written out step by step, every window sorted on its own: what the library's filters are compared with,
// and the plain method of the benchmarks. The names are the library's. Pointers are valid and sizes not negative here.
namespace qx::plain {

void medianFilter(float* data, int n, int r);
int filterImg(WORD* image, int width, int height);
void hisEqualization(WORD* pixels, int n);
int getMedianImage(float* out, const WORD* image, int width, int height);
int filterUsingSGolay(float* out, const float* in, int n, int order, int window);

}  // namespace qx::plain
