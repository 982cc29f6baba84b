#pragma once

#include <QxUtils/Types.h>

#include <cstdint>
#include <string>
#include <vector>

// The corrections of the stripe above an AED trigger line, written out step by step. A band is 35 rows of `width`
// pixels, row 25 is the trigger line. Pointers and sizes are valid here, trigger lines of any value. A log, where one
// is given, receives severity and text of every line: "I | <removeGenericStripe> begins".
namespace qx::plain {

using LogTexts = std::vector<std::string>;

// |pixel - 208| over that of row 24, which is at least 5e-05: 35 rows of `width` values.
std::vector<double> normalisedBand(const WORD* band, int width);
// Every step-th column of it, as few as 500 or less.
std::vector<double> sampledBand(const std::vector<double>& normalised, int width);

// Logarithms of the scalar products of all pairs of columns: count x count values.
std::vector<double> columnSimilarities(const double* sampled, int count);

// The fullest bin of their histogram.
struct SimilarityBin {
    double low;
    double high;
};
SimilarityBin fullestBin(const std::vector<double>& similarities);

// Ascending.
std::vector<int> findHomogeneousColumns(const double* sampled, int count);

int countRowsToCompensate(const double* ratio);

// Fills 35 ratios. Returns the number of rows to compensate, or -1.
int calcStripeRatio(double* ratio, const WORD* band, int width, std::uint32_t maxGrayValue, LogTexts* log = nullptr);

void removeGenericStripe(WORD* destination, const WORD* source, int width, const double* ratio, int rows,
                         std::uint32_t maxGrayValue, LogTexts* log = nullptr);

int correctAedStripeClinic(WORD* image, const WORD* reference, int width, int referenceWidth, int height,
                           int triggerLine, std::uint32_t maxGrayValue, LogTexts* log = nullptr);

// The smallest value that 150 of the 301 pixels of a row's segment do not exceed. The row has 1002 pixels or more.
int segmentMedian(const WORD* row, int width);

// The line through the segment medians of the 40 rows below the trigger line, the last row of the image standing for
// what lies beyond it: slope and value at the trigger line.
struct StripeLine {
    float slope;
    float intercept;
};
StripeLine lineBelowTrigger(const WORD* image, int width, int height, int triggerLine);

// The line-fit correction.
int correctAedStripe(WORD* image, int width, int height, int triggerLine, LogTexts* log = nullptr);

}  // namespace qx::plain
