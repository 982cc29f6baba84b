#pragma once

#include <QxUtils/Types.h>

// The filters written out step by step, every window sorted on its own: what the library's filters are compared with,
// and the plain method of the benchmarks. The names are the library's. Pointers are valid and sizes not negative here.
namespace qx::plain {

void medianFilter(float* data, int n, int r);
int filterImg(WORD* image, int width, int height);
void hisEqualization(WORD* pixels, int n);
int getMedianImage(float* out, const WORD* image, int width, int height);

// Writes window x window weights, row i those of the value at position i. Returns 1 when there is no such table.
int loadSGolayTable(float* table, int order, int window);

int filterUsingSGolay(float* out, const float* in, int n, int order, int window);

}  // namespace qx::plain
