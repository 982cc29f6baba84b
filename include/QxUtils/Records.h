#pragma once

// Records that cross the library's boundary.

#include <cstddef>
#include <cstdint>
#include <vector>

// Tube illumination of a flat field (asymDegree .. d, filled by the first-image check) and the grade of a one-shot
// calibration. Eight 32-bit fields.
struct SurfaceFitResult {
    float asymDegree;  // asymmetry degree, 0 for a symmetric field
    std::int32_t x0;   // tube centre column, full-resolution pixels
    std::int32_t y0;   // tube centre row, full-resolution pixels
    float a;           // peak model F(x, y) = a [1 - b (x - x0)^2 - c (y - y0)^2 - d x y]
    float b;
    float c;
    float d;
    std::int32_t evaluation;  // 1090 excellent, 1091 good, 1092 not good enough
};
static_assert(sizeof(SurfaceFitResult) == 32);
static_assert(offsetof(SurfaceFitResult, asymDegree) == 0);
static_assert(offsetof(SurfaceFitResult, x0) == 4);
static_assert(offsetof(SurfaceFitResult, y0) == 8);
static_assert(offsetof(SurfaceFitResult, a) == 12);
static_assert(offsetof(SurfaceFitResult, b) == 16);
static_assert(offsetof(SurfaceFitResult, c) == 20);
static_assert(offsetof(SurfaceFitResult, d) == 24);
static_assert(offsetof(SurfaceFitResult, evaluation) == 28);

// Defect lists of an image. Pixel indices are row * width + column; cluster groups are separated by -1.
struct VectorDefect {
    std::vector<int> points;
    std::vector<int> clusters;
    std::vector<int> rows;
    std::vector<int> columns;
};
