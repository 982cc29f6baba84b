#pragma once

#include "image/RawImage.h"

#include <cstdint>
#include <string>
#include <vector>

// The numbers that the library's checks compare with their limits, to show them beside each other; the verdicts are the
// library's own. The images are such that the check in question has not refused them. A measure is not a number where
// the check examines nothing.

namespace qx::tool {

// The difference of the two, 0 where the dark image is brighter.
FloatImage subtractDark(const RawImage& image, const RawImage& dark);

// The medians of the whole blocks of 32 x 32 pixels.
FloatImage blockMedians(const FloatImage& image);

// The largest connected region of blocks in shadow.
struct ShadowRegion {
    std::vector<std::uint8_t> isInside;  // a flag for every block
    int size = 0;                        // blocks
};
ShadowRegion findShadow(const FloatImage& blocks);

// Of the first columns and rows of blocks.
double darkestBlock(const FloatImage& blocks, const Shape& examined);

// Largest difference of neighbouring corners, after the AFE balance, relative to their mean.
double cornerAsymmetry(const FloatImage& exposed);

// Coefficient of variation of the means of five squares.
double variationOfSquares(const RawImage& image);

// The deviation that more than three blocks of 64 x 64 pixels must exceed for the image to be refused.
double fourthBlockDeviation(const RawImage& image);

// Largest difference between the means of neighbouring strips of 32 columns.
double largestStripStep(const RawImage& image);

// Rows whose mean differs from the one above by stepLimit or more.
int countRowSteps(const FloatImage& image, float stepLimit);

// Truncated mean - 3 standard deviations of the darkest strip of 32 columns.
double darkStripLevel(const RawImage& image);

// Largest share of a 16 x 16 cell at or below the level that splits its tile.
double darkestCellShare(const FloatImage& image);

// Standard deviation of the last file's pixels over the mean of all files.
double gainGroupVariation(const std::vector<std::string>& files);

// The medians that tell an exposure from a false trigger.
struct TriggerMedians {
    double brightestRegion = 0.0;  // of 257 columns, in the middle area
    double middleArea = 0.0;
    double outerArea = 0.0;
};
TriggerMedians measureTrigger(const FloatImage& image);

}  // namespace qx::tool
