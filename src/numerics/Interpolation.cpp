#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/Scratch.h"
#include "numerics/AlignedFloats.h"
#include "numerics/Panels.h"
#include "numerics/SplineKernels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {

using qx::kSplineLines;
using qx::Scratch;
using qx::SplineKernels;
using qx::SplinePoint;
using qx::SplineStep;

struct OutputSize {
    int first;
    int second;
};
constexpr std::array<OutputSize, 4> kOutputSizes = {{{2816, 2304}, {3032, 2480}, {3120, 2552}, {3212, 2628}}};
constexpr std::array<int, 2> kSquareTypes = {4, 9};

// Values of all lines at so many positions.
std::size_t lineValues(int count) noexcept {
    return static_cast<std::size_t>(count) * kSplineLines;
}

// So many rows or columns in groups of lines.
std::size_t lineGroups(int count) noexcept {
    return (static_cast<std::size_t>(count) + kSplineLines - 1) / kSplineLines;
}

void eliminate(SplineStep* steps, int knots) noexcept {
    float reduced = 0.0f;
    for (int i = 1; i < knots - 1; ++i) {
        const float pivot = 4.0f + reduced;
        reduced = -1.0f / pivot;
        steps[i] = {pivot, reduced};
    }
}

SplinePoint pointAt(float position, int knots) noexcept {
    const int knot = qx::truncateToInt(position);
    if (knot >= knots - 1)
        return {knots - 1, {1.0f, 0.0f}, {0.0f, 0.0f}};
    const float a = static_cast<float>(knot + 1) - position;
    const float b = position - static_cast<float>(knot);
    // A position that is not a number makes the weights so, whatever the knot.
    return {std::max(knot, 0), {a, b}, {a * a * a - a, b * b * b - b}};
}

// Splines of one direction: what depends on the lengths alone, and memory for kSplineLines lines.
class Resampling {
public:
    Resampling(int knots, int points)
        : knots_(knots), steps_(static_cast<std::size_t>(knots)), points_(static_cast<std::size_t>(points)),
          curvatures_(lineValues(knots) + kSplineLines) {
        if (!*this)
            return;
        eliminate(steps_.data(), knots);
        // Kept: one point has no spacing; the position is not a number then.
        const float spacing = static_cast<float>(knots - 1) / static_cast<float>(points - 1);
        for (int i = 0; i < points; ++i)
            points_[static_cast<std::size_t>(i)] = pointAt(static_cast<float>(i) * spacing, knots);
        // Behind the last knot follows another one, of no weight.
        std::fill_n(curvatures_.data() + lineValues(knots), kSplineLines, 0.0f);
    }

    explicit operator bool() const noexcept { return steps_ && points_ && curvatures_; }

    // Takes lines of knots, with a place behind the last one.
    void use(float* knots) noexcept {
        lines_ = knots;
        std::fill_n(knots + lineValues(knots_), kSplineLines, 0.0f);
        kernels_.curvatures(knots, steps_.data(), knots_, curvatures_.data());
    }

    void values(int first, int count, float* values) const noexcept {
        kernels_.values(lines_, curvatures_.data(), points_.data() + first, count, values);
    }

    void pixels(int lines, qx::ImageView<WORD> out, int column) const noexcept {
        kernels_.pixels(lines_, curvatures_.data(), points_.data(), out.height, lines, out.row(0) + column, out.width);
    }

private:
    const SplineKernels& kernels_ = qx::splineKernels();
    int knots_;
    Scratch<SplineStep> steps_;
    Scratch<SplinePoint> points_;
    qx::AlignedFloats curvatures_;
    const float* lines_ = nullptr;
};

// Rows resampled, in panels of kSplineLines columns: all rows of a panel, and a place behind them, then the next one.
class RowsResampled {
public:
    RowsResampled(int rows, int columns)
        : panelValues_((lineGroups(rows) * kSplineLines + 1) * kSplineLines),
          values_(panelValues_ * lineGroups(columns)) {}

    explicit operator bool() const noexcept { return static_cast<bool>(values_); }
    float* panel(int column) noexcept {
        return values_.data() + panelValues_ * static_cast<std::size_t>(column / kSplineLines);
    }

private:
    std::size_t panelValues_;
    qx::AlignedFloats values_;
};

void resampleRows(qx::ImageView<const WORD> in, int columns, Resampling& splines, float* knots, RowsResampled& out) {
    qx::forPanels(in.height, kSplineLines, [&](int y, int lines) {
        qx::splineKernels().loadKnots(in.row(y), in.width, lines, in.width, knots);
        splines.use(knots);
        qx::forPanels(columns, kSplineLines,
                      [&](int x, int count) { splines.values(x, count, out.panel(x) + lineValues(y)); });
    });
}

void resampleColumns(RowsResampled& in, Resampling& splines, qx::ImageView<WORD> out) {
    qx::forPanels(out.width, kSplineLines, [&](int x, int columns) {
        splines.use(in.panel(x));
        splines.pixels(columns, out, x);
    });
}

void resample(qx::ImageView<const WORD> in, qx::ImageView<WORD> out) {
    RowsResampled rows(in.height, out.width);
    {
        Resampling splines(in.width, out.width);
        qx::AlignedFloats knots(lineValues(in.width) + kSplineLines);
        if (!rows || !splines || !knots)
            return;
        resampleRows(in, out.width, splines, knots.data(), rows);
    }
    Resampling splines(in.height, out.height);
    if (splines)
        resampleColumns(rows, splines, out);
}

}  // namespace

void interpImg2D(WORD** out, int outRows, int outColumns, WORD** in, int inRows, int inColumns) {
    int count = 0;
    if (out == nullptr || in == nullptr || !qx::pixelCount(outColumns, outRows, count) ||
        !qx::pixelCount(inColumns, inRows, count))
        return;
    // Kept: the addresses are those of the first pixels.
    resample({reinterpret_cast<const WORD*>(in), inColumns, inRows},
             {reinterpret_cast<WORD*>(out), outColumns, outRows});
}

int getIntepolationSize(int& firstSize, int& secondSize, int index, int type) {
    if (index < 1 || index > static_cast<int>(kOutputSizes.size()))
        return StatusWrongParameter;
    const OutputSize& size = kOutputSizes[static_cast<std::size_t>(index) - 1];
    const bool square = std::find(kSquareTypes.begin(), kSquareTypes.end(), type) != kSquareTypes.end();
    firstSize = size.first;
    secondSize = square ? size.first : size.second;
    return StatusOk;
}
