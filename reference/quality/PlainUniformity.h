#pragma once

#include <QxUtils/Types.h>

#include <vector>

// The checks of uniformity, strips, row noise and dark level, written out step by step. Each verdict takes its limit as
// an argument and comes with the measured value that it compares. Pointers and sizes are valid here.
namespace qx::plain {

// Mean of the five square means, truncated, and their deviation over it; the latter counts only when the mean is not 0.
struct SquareSpread {
    int mean;
    float spread;
};
SquareSpread squareSpread(const WORD* image, int width, int height);
int getUniform(const WORD* image, int width, int height, float limit);

// Means of the strips of 32 columns that are examined: single-precision sums, row by row.
std::vector<float> stripMeans(const WORD* image, int width, int height);
int analysisStrip(const WORD* image, int width, int height, int limit);

// First column of the darkest strip, and its truncated mean - 3 deviations.
int darkestStripStart(const WORD* image, int width, int height);
float darkLevel(const WORD* image, int width, int height);
int darkImgGrayAnalysis(const WORD* image, int width, int height, int floor);

// Single-precision means of the rows, and how many differ from the one above by limit or more.
std::vector<float> rowMeans(const float* image, int width, int height);
int countRowSteps(const float* image, int width, int height, float limit);
int analysisRcn(const float* image, int width, int height, float limit);

// Relative deviations of the medians of the inner 64 x 64 blocks from their mean, and the one that is logged.
std::vector<float> blockDeviations(const WORD* image, int width, int height);
float loggedDeviation(const std::vector<float>& deviations);
int checkGlobalUniform(const WORD* image, int width, int height, float limit);

}  // namespace qx::plain
