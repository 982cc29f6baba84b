#pragma once

#include <QxUtils/Types.h>

#include <vector>

// The sanity checks of an acquisition, written out step by step.
namespace qx::plain {

// 0 or 1094. The width is at least 768 and no area is empty.
int falseTriggerVerdict(const float* image, int width, int height, int medianFloor);

// The pixels of a dark image as the patch test sees them, tileSide x tileSide values in the first places of 4096.
std::vector<WORD> offsetTile(const float* image, int width, int top, int left, int tileSide);

// The level that splits a tile's histogram best; 0 when there is none.
int splittingLevel(const std::vector<WORD>& tile, int tileSide);

// Whether a cell of the tile lies at or below the level, but for a tenth.
bool holdsPatch(const std::vector<WORD>& tile, int tileSide, int level);

// 0 or 1. tileSide is 64 or 32.
int offsetPatchVerdict(const float* image, int width, int height, int tileSide);

}  // namespace qx::plain
