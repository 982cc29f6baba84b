#pragma once

#include "foundation/Scratch.h"
#include "kernels/SplineKernels.h"

#include <cstdint>

namespace qx {

// Values of all lines at so many positions.
inline std::int64_t lineValues(std::int64_t count) noexcept {
    return count * kSplineLines;
}

// So many rows or columns in groups of lines.
inline int lineGroups(int count) noexcept {
    return (count - 1) / kSplineLines + 1;
}

// What the splines of one direction need that depends on the lengths alone. The memory may be missing.
class SplineSpacing {
public:
    SplineSpacing(int knots, int points);

    explicit operator bool() const noexcept { return steps_ && points_; }
    int lastKnot() const noexcept { return knots_ - 1; }
    int points() const noexcept { return static_cast<int>(points_.count()); }
    const SplineStep* step(int knot) const noexcept { return steps_.data() + knot; }
    const SplinePoint* point(int i) const noexcept { return points_.data() + i; }

private:
    int knots_;
    Scratch<SplineStep> steps_;
    Scratch<SplinePoint> points_;
};

}  // namespace qx
