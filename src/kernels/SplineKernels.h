#pragma once

#include "kernels/VectorLevel.h"

#include <cstddef>
#include <cstdint>

namespace qx {

// Lines of knots that splines are put through at a time. Their values at one position lie side by side.
inline constexpr int kSplineLines = 32;

// The elimination at a knot: the equation's unknown is multiplied by pivot, and depends on the next one by reduced.
// They depend on the knot's position alone.
struct SplineStep {
    float pivot;
    float reduced;
};

// Where a spline is evaluated: weights of the knot, the next knot, and the second derivatives at both.
struct SplinePoint {
    int knot;
    float weights[2];
    float curvatureWeights[2];
};

// Knots of all lines from the one called `first` on, and the second derivatives there. Behind the last one there is
// room for another.
struct SplineLines {
    const float* knots;
    const float* curvatures;
    int first;
};

// Natural cubic splines through knots at unit spacing, kSplineLines lines at a time. The second derivatives come from a
// forward elimination and a backward substitution, which may stop at any knot: a state is what they know there, a value
// a line.
struct SplineKernels {
    // The first `columns` pixels of `lines` rows as knots; what lacks to kSplineLines is 0.
    void (*loadKnots)(const std::uint16_t* rows, std::ptrdiff_t stride, int lines, int columns, float* knots) noexcept;

    // Eliminates at `count` knots. knots starts one knot before, and holds one behind; state is that of the knot
    // before.
    void (*eliminate)(const float* knots, const SplineStep* steps, int count, float* state, float* eliminated) noexcept;

    // Turns eliminated values at `count` knots into second derivatives, in place if wished; state is that of the knot
    // behind.
    void (*substitute)(const float* eliminated, const SplineStep* steps, int count, float* state,
                       float* curvatures) noexcept;

    // Takes two states to where substitute takes them. What lies between the two before lies between them afterwards.
    // Whether both are the same to the bit.
    bool (*substituteBoth)(const float* eliminated, const SplineStep* steps, int count, float* one,
                           float* other) noexcept;

    // Values at `count` points, at most kSplineLines: those of a line lie side by side, line after line.
    void (*values)(const SplineLines& lines, const SplinePoint* points, int count, float* values) noexcept;

    // Values at `count` points as rows of pixels that lie a stride apart, of the first `width` lines.
    void (*pixels)(const SplineLines& lines, const SplinePoint* points, int count, int width, std::uint16_t* rows,
                   std::ptrdiff_t stride) noexcept;

    // The same where every second derivative lies somewhere between that of `lines` and that of `others`. False if a
    // pixel depends on where; it and those behind it are not written then.
    bool (*pixelsBetween)(const SplineLines& lines, const float* others, const SplinePoint* points, int count,
                          int width, std::uint16_t* rows, std::ptrdiff_t stride) noexcept;
};

// The kernels of the vector level in use.
const SplineKernels& splineKernels() noexcept;

QX_DECLARE_TABLES(SplineKernels)

}  // namespace qx
