#include "numerics/resampling/SplineSpacing.h"

#include "foundation/CheckedNumbers.h"

#include <algorithm>

namespace qx {
namespace {

void eliminate(SplineStep* steps, int knots) noexcept {
    float reduced = 0.0f;
    for (int i = 1; i < knots - 1; ++i) {
        const float pivot = 4.0f + reduced;
        reduced = -1.0f / pivot;
        steps[i] = {pivot, reduced};
    }
}

SplinePoint pointAt(float position, int knots) noexcept {
    const int knot = truncateToInt(position);
    if (knot >= knots - 1)
        return {knots - 1, {1.0f, 0.0f}, {0.0f, 0.0f}};
    const float a = static_cast<float>(knot + 1) - position;
    const float b = position - static_cast<float>(knot);
    // A position that is not a number makes the weights so, whatever the knot.
    return {std::max(knot, 0), {a, b}, {a * a * a - a, b * b * b - b}};
}

}  // namespace

SplineSpacing::SplineSpacing(int knots, int points) : knots_(knots), steps_(knots), points_(points) {
    if (!*this)
        return;
    eliminate(steps_.data(), knots);
    // Kept: one point has no spacing; the position is not a number then.
    const float spacing = static_cast<float>(knots - 1) / static_cast<float>(points - 1);
    for (int i = 0; i < points; ++i)
        points_[i] = pointAt(static_cast<float>(i) * spacing, knots);
}

}  // namespace qx
