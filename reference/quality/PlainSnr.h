#pragma once

#include <QxUtils/Types.h>

#include <vector>

// The signal-to-noise series of nested centred squares and the verdicts on it, written out step by step.
namespace qx::plain {

// Number of squares of an image and the side of square k, pixels.
int snrCount(int width, int height);
int snrSide(int k);

// Fraction of the scaled factory value that square k has to reach.
float expectedSnrFactor(int k);

// The series of an image; both sides are at least 128.
std::vector<float> snrSeries(const WORD* image, int width, int height);

// Squares whose measured value lies below the scaled factory value, and below the expected part of it.
struct SnrShortfall {
    int belowScaled;
    int belowExpected;
};
SnrShortfall compareSnr(const std::vector<float>& measured, const std::vector<float>& factory);

// 0 or 1088.
int snrCheckCode(const std::vector<float>& measured, const std::vector<float>& factory);

// 1090, 1091 or 1092.
int snrGrade(const std::vector<float>& measured, const std::vector<float>& factory);

}  // namespace qx::plain
