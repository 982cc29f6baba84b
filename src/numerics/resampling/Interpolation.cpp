#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/AlignedFloats.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/Panels.h"
#include "foundation/Scratch.h"
#include "kernels/SplineKernels.h"

#include <algorithm>
#include <array>
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

// What the splines of one direction need that depends on the lengths alone.
class Spacing {
public:
    Spacing(int knots, int points)
        : knots_(knots), steps_(static_cast<std::size_t>(knots)), points_(static_cast<std::size_t>(points)) {
        if (!*this)
            return;
        eliminate(steps_.data(), knots);
        // Kept: one point has no spacing; the position is not a number then.
        const float spacing = static_cast<float>(knots - 1) / static_cast<float>(points - 1);
        for (int i = 0; i < points; ++i)
            points_[static_cast<std::size_t>(i)] = pointAt(static_cast<float>(i) * spacing, knots);
    }

    explicit operator bool() const noexcept { return steps_ && points_; }
    int lastKnot() const noexcept { return knots_ - 1; }
    const SplineStep* step(int knot) const noexcept { return steps_.data() + knot; }
    const SplinePoint* point(int i) const noexcept { return points_.data() + i; }

private:
    int knots_;
    Scratch<SplineStep> steps_;
    Scratch<SplinePoint> points_;
};

// Neighbouring knots. The one before the first belongs to them where there is one: an elimination looks at it.
struct KnotRange {
    int first;
    int last;

    int start() const noexcept { return std::max(first - 1, 0); }
    int count() const noexcept { return last - start() + 1; }
    int firstInner() const noexcept { return std::max(first, 1); }
    std::size_t values(int knot) const noexcept { return lineValues(knot - start()); }
};

// Takes the second derivatives in a range. knots starts at the range's start and has a place behind the last one, as
// curvatures has. eliminated is the elimination's state before the first inner knot, end the second derivative at the
// last one.
qx::SplineLines solve(const Spacing& spacing, const KnotRange& range, float* knots, float* curvatures,
                      float* eliminated, const float* end) noexcept {
    const SplineKernels& kernels = qx::splineKernels();
    const int inner = range.firstInner();
    const int count = std::max(range.last - inner, 0);
    std::array<float, kSplineLines> state;
    std::copy_n(end, kSplineLines, state.data());
    if (range.start() == 0)
        std::fill_n(curvatures, kSplineLines, 0.0f);
    std::copy_n(end, kSplineLines, curvatures + range.values(range.last));
    for (float* const lines : {knots, curvatures})
        std::fill_n(lines + lineValues(range.count()), kSplineLines, 0.0f);
    if (count > 0) {
        float* const first = curvatures + range.values(inner);
        kernels.eliminate(knots + range.values(inner - 1), spacing.step(inner), count, eliminated, first);
        kernels.substitute(first, spacing.step(inner), count, state.data());
    }
    return {knots, curvatures, range.start()};
}

// Rows resampled at a block of columns, in panels of kSplineLines columns: all rows of a panel, and a place behind
// them, then the next one.
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

// The splines along the rows, for a block of output columns at a time so that what they yield needs little memory. The
// elimination goes forward once, and its state before each block is kept; the substitution comes from behind, so the
// last block is the first one.
class RowSplines {
public:
    RowSplines(qx::ImageView<const WORD> in, const Spacing& spacing, int columns)
        : in_(in), spacing_(spacing), columns_(columns), blockColumns_(columnsOfBlock(in.height)),
          blocks_((columns - 1) / blockColumns_ + 1),
          states_(lineGroups(in.height) * static_cast<std::size_t>(blocks_) * kSplineLines),
          ends_(lineGroups(in.height) * kSplineLines), knots_(lineValues(longestRange()) + kSplineLines),
          curvatures_(lineValues(longestRange()) + kSplineLines) {
        if (*this)
            qx::forPanels(in_.height, kSplineLines, [this](int y, int lines) { eliminateUpToBlocks(y, lines); });
    }

    explicit operator bool() const noexcept { return states_ && ends_ && knots_ && curvatures_; }
    int blocks() const noexcept { return blocks_; }
    int firstColumn(int block) const noexcept { return block * blockColumns_; }
    int columns(int block) const noexcept { return std::min(blockColumns_, columns_ - firstColumn(block)); }

    // Blocks are asked for from the last one to the first.
    void resample(int block, RowsResampled& out) noexcept {
        qx::forPanels(in_.height, kSplineLines, [&](int y, int lines) { resampleGroup(block, y, lines, out); });
    }

private:
    // About 4 MiB of values.
    static int columnsOfBlock(int rows) noexcept {
        constexpr int kValues = 1 << 20;
        return std::max(kValues / rows / kSplineLines, 1) * kSplineLines;
    }

    KnotRange range(int block) const noexcept {
        const int first = spacing_.point(firstColumn(block))->knot;
        const int last = block + 1 < blocks_ ? spacing_.point(firstColumn(block + 1))->knot + 1 : spacing_.lastKnot();
        return {first, std::min(last, spacing_.lastKnot())};
    }

    int longestRange() const noexcept {
        int longest = 0;
        for (int block = 0; block < blocks_; ++block)
            longest = std::max(longest, range(block).count());
        return longest;
    }

    float* state(int y, int block) noexcept {
        const std::size_t group = static_cast<std::size_t>(y / kSplineLines) * static_cast<std::size_t>(blocks_);
        return states_.data() + (group + static_cast<std::size_t>(block)) * kSplineLines;
    }
    float* end(int y) noexcept { return ends_.data() + static_cast<std::size_t>(y); }

    void load(int y, int lines, const KnotRange& range) noexcept {
        qx::splineKernels().loadKnots(in_.row(y) + range.start(), in_.width, lines, range.count(), knots_.data());
    }

    void eliminateUpToBlocks(int y, int lines) noexcept {
        std::fill_n(state(y, 0), kSplineLines, 0.0f);
        std::fill_n(end(y), kSplineLines, 0.0f);
        for (int block = 0; block + 1 < blocks_; ++block) {
            const KnotRange before = {range(block).first, range(block + 1).first};
            float* const next = state(y, block + 1);
            std::copy_n(state(y, block), kSplineLines, next);
            if (before.last <= before.firstInner())
                continue;
            load(y, lines, before);
            qx::splineKernels().eliminate(knots_.data() + before.values(before.firstInner() - 1),
                                          spacing_.step(before.firstInner()), before.last - before.firstInner(), next,
                                          curvatures_.data());
        }
    }

    void resampleGroup(int block, int y, int lines, RowsResampled& out) noexcept {
        const KnotRange knots = range(block);
        load(y, lines, knots);
        const qx::SplineLines solved =
            solve(spacing_, knots, knots_.data(), curvatures_.data(), state(y, block), end(y));
        std::copy_n(curvatures_.data() + knots.values(std::min(knots.first + 1, knots.last)), kSplineLines, end(y));
        qx::forPanels(columns(block), kSplineLines, [&](int x, int count) {
            qx::splineKernels().values(solved, spacing_.point(firstColumn(block) + x), count,
                                       out.panel(x) + lineValues(y));
        });
    }

    qx::ImageView<const WORD> in_;
    const Spacing& spacing_;
    int columns_;
    int blockColumns_;
    int blocks_;
    qx::AlignedFloats states_;
    qx::AlignedFloats ends_;
    qx::AlignedFloats knots_;
    qx::AlignedFloats curvatures_;
};

void resample(qx::ImageView<const WORD> in, qx::ImageView<WORD> out) {
    const Spacing alongRows(in.width, out.width);
    const Spacing downColumns(in.height, out.height);
    if (!alongRows || !downColumns)
        return;
    RowSplines rows(in, alongRows, out.width);
    RowsResampled resampled(in.height, rows.columns(0));
    qx::AlignedFloats curvatures(lineValues(in.height) + kSplineLines);
    if (!rows || !resampled || !curvatures)
        return;
    for (int block = rows.blocks() - 1; block >= 0; --block) {
        rows.resample(block, resampled);
        qx::forPanels(rows.columns(block), kSplineLines, [&](int x, int columns) {
            constexpr std::array<float, kSplineLines> kEnd{};
            std::array<float, kSplineLines> state{};
            const qx::SplineLines solved = solve(downColumns, {0, downColumns.lastKnot()}, resampled.panel(x),
                                                 curvatures.data(), state.data(), kEnd.data());
            qx::splineKernels().pixels(solved, downColumns.point(0), out.height, columns,
                                       out.row(0) + rows.firstColumn(block) + x, out.width);
        });
    }
}

}  // namespace

void interpImg2D(WORD** out, int outRows, int outColumns, WORD** in, int inRows, int inColumns) {
    if (out == nullptr || in == nullptr || !qx::isImageSize(outColumns, outRows) || !qx::isImageSize(inColumns, inRows))
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
