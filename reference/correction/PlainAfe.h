#pragma once

#include <QxUtils/Types.h>

// The AFE and RD correction and the small float-image tools beside it, written out step by step.
// Pointers and sizes are valid here; afeWidth is at least 9 where edges are looked at and at most the width.
namespace qx::plain {

void calcNeighbourAFERatio(float* ratio, int nAfe, const float* image, int width, int height, int afeWidth);
void overwriteBadLineAroundAFEEdge(float* image, int width, int height, int afeWidth);
void correctRDbyRgain(float* image, int width, int height, const float* rgain, int nAfe, int afeWidth);
void correctRDwithoutRgain(float* image, int width, int height, int afeWidth);

void cutBinningImage(float* out, const float* image, int width, int height, int border);
void doBinningSample(float* out, const float* image, int width, int height);

// Medians (the upper middle) of the whole blocks of side x side pixels, row by row.
void blockMedians(float* out, const float* image, int width, int height, int side);

}  // namespace qx::plain
