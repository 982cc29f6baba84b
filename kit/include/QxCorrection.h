#pragma once

// Contract of the kit's correction library, as far as QxUtils imports it.

#include "QxKitExport.h"

#include <QxUtils/Records.h>

// Splits a defect list set for an image of width x height pixels: outSetA receives every valid entry, outSetB the
// rest. Returns 0 on success.
QXKIT_API int loadDefectFromNoiseAndMultImgs(int width, int height, VectorDefect* set, VectorDefect* outSetA,
                                             VectorDefect* outSetB);

// Replaces the listed points, cluster pixels, rows and columns of an image of width x height pixels, row-major, in
// place. Returns 0 on success.
QXKIT_API int correctImgDefectMap(float* image, int width, int height, VectorDefect* set, int option);
