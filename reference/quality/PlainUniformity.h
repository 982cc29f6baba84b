#pragma once

#include <QxUtils/Types.h>

#include <vector>

// The checks of strips, row noise, dark level and uniformity over the whole image, written out step by step. Each
// verdict takes its limit as an argument and comes with the measured value that it compares. Pointers and sizes are
// valid here.
namespace qx::plain {

// Means of the strips of 32 columns that are examined: single-precision sums, row by row.
std::vector<float> stripMeans(const WORD* image, int width, int height);
int analysisStrip(const WORD* image, int width, int height, int limit);

// The truncated mean - 3 deviations of the darkest strip.
float darkLevel(const WORD* image, int width, int height);
int darkImgGrayAnalysis(const WORD* image, int width, int height, int floor);

// Single-precision means of the rows, and how many differ from the one above by limit or more.
std::vector<float> rowMeans(const float* image, int width, int height);
int countRowSteps(const float* image, int width, int height, float limit);

// Relative deviations of the medians of the inner 64 x 64 blocks from their mean.
std::vector<float> blockDeviations(const WORD* image, int width, int height);
int checkGlobalUniform(const WORD* image, int width, int height, float limit);

}  // namespace qx::plain
