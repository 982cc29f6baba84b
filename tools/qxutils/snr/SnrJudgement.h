#pragma once

#include "image/Image.h"

#include <QxUtils/Measures.h>

#include <string>
#include <vector>

namespace qx::tool {

// An SNR series, smallest square first.
using SnrSeries = std::vector<float>;

// What the library says about an image, square by square.
struct SnrJudgement {
    SnrSeries measured;
    SnrSeries scaled;            // the factory series, scaled so that its smallest square agrees with the measured one
    SnrSeries expected;          // the series below which a square counts against the image
    std::vector<bool> areBelow;  // it
    int verdict = 0;             // 0 or 1088
    int grade = 0;               // 1090, 1091 or 1092
    CheckMeasures below{};       // the squares that count against the image

    bool passed() const { return verdict == 0; }
    bool isBelow(std::size_t square) const { return areBelow[square]; }
};

// Sides of the nested centred squares on which the SNR of an image is measured, pixels.
std::vector<int> snrSquareSides(const Shape& shape);

SnrSeries measureSnr(const RawImage& image);

// The factory series must cover every square of the image.
SnrJudgement judgeSnr(const RawImage& image, const SnrSeries& factory);

// 1090, 1091 or 1092.
int gradeSnr(const RawImage& image, const SnrSeries& factory);

// One word for a grade: excellent, good, poor.
std::string gradeName(int grade);

}  // namespace qx::tool
