#pragma once

#include <QxUtils/Types.h>

#include <cstdint>

// The check of the first exposed image, written out step by step.
namespace qx::plain {

// Size of the largest 8-connected region of marked values.
int largestRegion(const std::uint8_t* marked, int width, int height);

// 0, 1068, 1062 or 1069. The image has at least 16 x 16 blocks.
int firstImageVerdict(const WORD* image, const WORD* dark, int width, int height, int blockFloor, int afeWidth);

}  // namespace qx::plain
