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
#include <cmath>
#include <cstdint>
#include <iterator>

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
std::int64_t lineValues(std::int64_t count) noexcept {
    return count * kSplineLines;
}

// So many rows or columns in groups of lines.
int lineGroups(int count) noexcept {
    return (count - 1) / kSplineLines + 1;
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
    Spacing(int knots, int points) : knots_(knots), steps_(knots), points_(points) {
        if (!*this)
            return;
        eliminate(steps_.data(), knots);
        // Kept: one point has no spacing; the position is not a number then.
        const float spacing = static_cast<float>(knots - 1) / static_cast<float>(points - 1);
        for (int i = 0; i < points; ++i)
            points_[i] = pointAt(static_cast<float>(i) * spacing, knots);
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

// The knots first .. last, of which a piece of all splines is worked out. What an elimination takes at a knot depends
// on the knot before, so the one before the first is loaded as well, where there is one:
//   start() = first - 1, or 0    the first one in memory, from which places count
//   firstInner() .. last - 1     the ones that are eliminated: the first knot of a spline and the last one of a range
//                                are not, as their second derivatives are known beforehand (0, or the state from
//                                behind)
//   last + 1                     room behind, which the kernels read
struct KnotRange {
    int first;
    int last;

    int start() const noexcept { return std::max(first - 1, 0); }
    int loaded() const noexcept { return last - start() + 1; }
    int firstInner() const noexcept { return std::max(first, 1); }
    int inner() const noexcept { return std::max(last - firstInner(), 0); }
    std::int64_t memory() const noexcept { return lineValues(std::int64_t{loaded()} + 1); }
    std::int64_t place(int knot) const noexcept { return lineValues(knot - start()); }
};

// Takes the second derivatives in a range. eliminated is the elimination's state before the first inner knot, end the
// second derivative at the last one.
qx::SplineLines solve(const Spacing& spacing, const KnotRange& range, float* knots, float* curvatures,
                      float* eliminated, const float* end) noexcept {
    const SplineKernels& kernels = qx::splineKernels();
    const int inner = range.firstInner();
    std::array<float, kSplineLines> state;
    std::copy_n(end, kSplineLines, state.data());
    if (range.start() == 0)
        std::fill_n(curvatures, kSplineLines, 0.0f);
    std::copy_n(end, kSplineLines, curvatures + range.place(range.last));
    for (float* const lines : {knots, curvatures})
        std::fill_n(lines + range.place(range.last + 1), kSplineLines, 0.0f);
    if (range.inner() > 0) {
        float* const first = curvatures + range.place(inner);
        kernels.eliminate(knots + range.place(inner - 1), spacing.step(inner), range.inner(), eliminated, first);
        kernels.substitute(first, spacing.step(inner), range.inner(), state.data());
    }
    return {knots, curvatures, range.start()};
}

// Rows resampled at a block of columns, in panels of kSplineLines columns: all rows of a panel, and a place behind
// them, then the next one.
class RowsResampled {
public:
    RowsResampled(int rows, int columns)
        : panelValues_(lineValues(std::int64_t{lineGroups(rows)} * kSplineLines + 1)),
          values_(panelValues_ * lineGroups(columns)) {}

    explicit operator bool() const noexcept { return static_cast<bool>(values_); }
    float* panel(int column) noexcept { return values_.data() + panelValues_ * (column / kSplineLines); }

private:
    std::int64_t panelValues_;
    qx::AlignedFloats values_;
};

// The splines along the rows, for a block of output columns at a time so that what they yield needs little memory. The
// elimination goes forward, the substitution comes from behind, so the last block is the first one. The elimination's
// states before the blocks of one stretch are kept, and those before every stretch, from which it goes forward again:
// many blocks would need a multiple of the image's memory.
class RowSplines {
public:
    RowSplines(qx::ImageView<const WORD> in, const Spacing& spacing, int columns)
        : in_(in), spacing_(spacing), columns_(columns), blockColumns_(columnsOfBlock(in.height)),
          blocks_((columns - 1) / blockColumns_ + 1), stretch_(blocksOfStretch(blocks_)),
          stretches_((blocks_ - 1) / stretch_ + 1), starts_(lineValues(lineGroups(in.height)) * stretches_),
          states_(lineValues(lineGroups(in.height)) * stretch_), ends_(lineValues(lineGroups(in.height))),
          knots_(mostMemory()), curvatures_(mostMemory()) {
        if (*this)
            qx::forPanels(in_.height, kSplineLines, [this](int y, int lines) { eliminateUpToStretches(y, lines); });
    }

    explicit operator bool() const noexcept { return starts_ && states_ && ends_ && knots_ && curvatures_; }
    int blocks() const noexcept { return blocks_; }
    int firstColumn(int block) const noexcept { return block * blockColumns_; }
    int columns(int block) const noexcept { return std::min(blockColumns_, columns_ - firstColumn(block)); }

    // Blocks are asked for from the last one to the first.
    void resample(int block, RowsResampled& out) noexcept {
        const bool entersStretch = block + 1 == blocks_ || (block + 1) % stretch_ == 0;
        if (entersStretch)
            qx::forPanels(in_.height, kSplineLines, [&](int y, int lines) { eliminateUpToBlocks(block, y, lines); });
        qx::forPanels(in_.height, kSplineLines, [&](int y, int lines) { resampleGroup(block, y, lines, out); });
    }

private:
    // About 4 MiB of values.
    static int columnsOfBlock(int rows) noexcept {
        constexpr int kValues = 1 << 20;
        return std::max(kValues / rows / kSplineLines, 1) * kSplineLines;
    }

    // All of them, or about as many as there are stretches.
    static int blocksOfStretch(int blocks) noexcept {
        constexpr int kBlocks = 32;
        return blocks <= kBlocks ? blocks : static_cast<int>(std::sqrt(blocks));
    }

    KnotRange range(int block) const noexcept {
        const int first = spacing_.point(firstColumn(block))->knot;
        const int last = block + 1 < blocks_ ? spacing_.point(firstColumn(block + 1))->knot + 1 : spacing_.lastKnot();
        return {first, std::min(last, spacing_.lastKnot())};
    }

    std::int64_t mostMemory() const noexcept {
        std::int64_t most = 0;
        for (int block = 0; block < blocks_; ++block)
            most = std::max(most, range(block).memory());
        return most;
    }

    // Of the group of lines from row y on: the elimination's states before a stretch and before a block of the current
    // stretch, and the second derivatives at the block's last knot, which the block behind it leaves.
    float* start(int y, int stretch) noexcept {
        return starts_.data() + lineValues(std::int64_t{y / kSplineLines} * stretches_ + stretch);
    }
    float* state(int y, int block) noexcept {
        return states_.data() + lineValues(std::int64_t{y / kSplineLines} * stretch_ + block % stretch_);
    }
    float* end(int y) noexcept { return ends_.data() + y; }

    void load(int y, int lines, const KnotRange& range) noexcept {
        qx::splineKernels().loadKnots(in_.row(y) + range.start(), in_.width, lines, range.loaded(), knots_.data());
    }

    // Takes the state before a block to the one before the next block.
    void eliminateBlock(int block, int y, int lines, float* state) noexcept {
        const KnotRange before = {range(block).first, range(block + 1).first};
        if (before.inner() == 0)
            return;
        load(y, lines, before);
        qx::splineKernels().eliminate(knots_.data() + before.place(before.firstInner() - 1),
                                      spacing_.step(before.firstInner()), before.inner(), state, curvatures_.data());
    }

    void eliminateUpToStretches(int y, int lines) noexcept {
        std::fill_n(start(y, 0), kSplineLines, 0.0f);
        std::fill_n(end(y), kSplineLines, 0.0f);
        for (int stretch = 1; stretch < stretches_; ++stretch) {
            float* const next = start(y, stretch);
            std::copy_n(start(y, stretch - 1), kSplineLines, next);
            for (int block = (stretch - 1) * stretch_; block < stretch * stretch_; ++block)
                eliminateBlock(block, y, lines, next);
        }
    }

    // The states before all blocks of the stretch that ends with `last`.
    void eliminateUpToBlocks(int last, int y, int lines) noexcept {
        const int stretch = last / stretch_;
        std::copy_n(start(y, stretch), kSplineLines, state(y, stretch * stretch_));
        for (int block = stretch * stretch_; block < last; ++block) {
            std::copy_n(state(y, block), kSplineLines, state(y, block + 1));
            eliminateBlock(block, y, lines, state(y, block + 1));
        }
    }

    void resampleGroup(int block, int y, int lines, RowsResampled& out) noexcept {
        const KnotRange knots = range(block);
        load(y, lines, knots);
        const qx::SplineLines solved =
            solve(spacing_, knots, knots_.data(), curvatures_.data(), state(y, block), end(y));
        std::copy_n(curvatures_.data() + knots.place(std::min(knots.first + 1, knots.last)), kSplineLines, end(y));
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
    int stretch_;
    int stretches_;
    qx::AlignedFloats starts_;
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
    const KnotRange all{0, downColumns.lastKnot()};
    qx::AlignedFloats curvatures(all.memory());
    if (!rows || !resampled || !curvatures)
        return;
    for (int block = rows.blocks() - 1; block >= 0; --block) {
        rows.resample(block, resampled);
        qx::forPanels(rows.columns(block), kSplineLines, [&](int x, int columns) {
            constexpr std::array<float, kSplineLines> kEnd{};
            std::array<float, kSplineLines> state{};
            const qx::SplineLines solved =
                solve(downColumns, all, resampled.panel(x), curvatures.data(), state.data(), kEnd.data());
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
    if (index < 1 || index > std::ssize(kOutputSizes))
        return StatusWrongParameter;
    const OutputSize& size = kOutputSizes[index - 1];
    const bool square = std::find(kSquareTypes.begin(), kSquareTypes.end(), type) != kSquareTypes.end();
    firstSize = size.first;
    secondSize = square ? size.first : size.second;
    return StatusOk;
}
