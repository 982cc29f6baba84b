#pragma once

#include <QxUtils/Types.h>

#include <cstdint>

// The checks of the first exposed image and of a preview image, written out step by step.
namespace qx::plain {

// Size of the largest 8-connected region of marked values.
int largestRegion(const std::uint8_t* marked, int width, int height);

// 0, 1068, 1062 or 1069. The image has at least 16 x 16 blocks.
int firstImageVerdict(const WORD* image, const WORD* dark, int width, int height, int blockFloor, int afeWidth);

// 0, 1068 or 1062. The image has room for the squares, and their mean is 1 or more.
int previewVerdict(const WORD* image, const WORD* dark, int width, int height, int blockFloor, float limit);

}  // namespace qx::plain
