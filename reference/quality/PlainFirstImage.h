#pragma once

#include <QxUtils/Types.h>

#include <cstdint>
#include <vector>

// The checks of the first exposed image and of a preview image, written out step by step.
namespace qx::plain {

// image - dark, 0 where the dark image is brighter.
std::vector<WORD> darkSubtracted(const WORD* image, const WORD* dark, int width, int height);

// A block of 32 x 32 pixels and its median, the upper middle. Index -1: no block.
struct MeasuredBlock {
    int index;
    float median;
};

// The first whole block, row by row, whose median lies below the floor.
MeasuredBlock firstBlockBelow(float floor, const WORD* image, int width, int height);

// The same without the blocks that end at the right or lower border of the image.
MeasuredBlock firstInnerBlockBelow(float floor, const WORD* image, int width, int height);

// Mean over 7 x 7 values, as far as they lie inside.
std::vector<float> boxMean(const std::vector<float>& blocks, int width, int height);

// 1 where a value lies at or below the fraction of the maximum that is allowed at its distance, else 0.
std::vector<std::uint8_t> darkMarks(const float* blocks, int width, int height, float fraction);

// Size of the largest 8-connected region of marked values, by two passes over the rows.
int largestRegion(const std::uint8_t* marked, int width, int height);

// 0 or 1062.
int darkRegionVerdict(const float* blocks, int width, int height, float fraction, int allowedSize);

// The collimator check of a dark-subtracted image: 0 or 1062.
int collimatorVerdict(const WORD* image, int width, int height);

// Levels and relative differences of the corners; the verdict is 0 or 1069.
struct Symmetry {
    int leftTop, leftBottom, rightTop, rightBottom;
    float horizontal, vertical, degree;
    int verdict;
};
Symmetry symmetry(const float* blocks, int width, int height);

// The inner block medians of a dark-subtracted image of at least 16 x 16 blocks, after the AFE balance.
struct Illumination {
    int columns, rows;
    std::vector<float> blocks;
};
Illumination illumination(const WORD* image, int width, int height, int afeWidth);

// What is logged of the surface that is fitted to these medians: its highest block and its peak, in pixels of the
// image, and its model.
struct TubePeak {
    int blockX, blockY, x0, y0;
    float model[6];
};
TubePeak tubePeak(const Illumination& inner);

// What the whole checks return.
int firstImageVerdict(const WORD* image, const WORD* dark, int width, int height, int blockFloor, int afeWidth);
int previewVerdict(const WORD* image, const WORD* dark, int width, int height, int blockFloor, float cvLimit);

}  // namespace qx::plain
