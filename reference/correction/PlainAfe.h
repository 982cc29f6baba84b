#pragma once

#include <QxUtils/Types.h>

#include <vector>

// The AFE and RD correction and the small float-image tools beside it, written out step by step without any log line.
// Pointers and sizes are valid here; afeWidth is at least 9 where edges are looked at and at most the width.
namespace qx::plain {

// The middle one of the whole blocks, the left one of two.
int referenceBlock(int width, int afeWidth);

void calcNeighbourAFERatio(float* ratio, int nAfe, const float* image, int width, int height, int afeWidth);
void calcRgain(float* rgain, const float* medianRatio, int nAfe, int width, int afeWidth);
void correctRDbyRgain(float* image, int width, int height, const float* rgain, int nAfe, int afeWidth);
void correctAbnormalPixelFromRD(float* image, int width, int height);

// What was found at one edge of a block. The last two belong to the left edge's pattern of three steps.
struct EdgeRepair {
    enum class Kind { Replaced, ReplacedBeyondMedian, OnlyLogged };

    Kind kind;
    int column;
    int source;
};

// Block by block, the left edge first.
std::vector<EdgeRepair> overwriteBadLineAroundAFEEdge(float* image, int width, int height, int afeWidth);

// Returns what was found in the copy that the measurement uses.
std::vector<EdgeRepair> correctRDwithoutRgain(float* image, int width, int height, int afeWidth);

void subtractImage(float* out, const WORD* a, const WORD* b, int pixelCount);
void cutBinningImage(float* out, const float* image, int width, int height, int border);
void doBinningSample(float* out, const float* image, int width, int height);

// Medians (the upper middle) of the whole blocks of side x side pixels, row by row.
void blockMedians(float* out, const float* image, int width, int height, int side);

}  // namespace qx::plain
