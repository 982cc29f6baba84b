#pragma once

#include <QxUtils/Types.h>

#include <vector>

// The signal-to-noise series of nested centred squares, written out step by step.
namespace qx::plain {

// Number of squares of an image.
int snrCount(int width, int height);

// The series of an image; both sides are at least 128.
std::vector<float> snrSeries(const WORD* image, int width, int height);

}  // namespace qx::plain
