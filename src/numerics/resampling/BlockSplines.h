#pragma once

#include "foundation/AlignedFloats.h"
#include "foundation/ImageView.h"
#include "foundation/Panels.h"
#include "kernels/SplineKernels.h"
#include "numerics/resampling/SplineSpacing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace qx {

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
inline SplineLines solve(const SplineSpacing& spacing, const KnotRange& range, float* knots, float* curvatures,
                         float* eliminated, const float* end) noexcept {
    const SplineKernels& kernels = splineKernels();
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
        kernels.substitute(first, spacing.step(inner), range.inner(), state.data(), first);
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
    AlignedFloats values_;
};

// The splines along the rows, for a block of output columns at a time so that what they yield needs little memory. The
// elimination goes forward, the substitution comes from behind, so the last block is the first one. The elimination's
// states before the blocks of one stretch are kept, and those before every stretch, from which it goes forward again:
// many blocks would need a multiple of the image's memory.
class RowSplines {
public:
    RowSplines(ImageView<const std::uint16_t> in, const SplineSpacing& spacing, int columns)
        : in_(in), spacing_(spacing), columns_(columns), blockColumns_(columnsOfBlock(in.height)),
          blocks_((columns - 1) / blockColumns_ + 1), stretch_(blocksOfStretch(blocks_)),
          stretches_((blocks_ - 1) / stretch_ + 1), starts_(lineValues(lineGroups(in.height)) * stretches_),
          states_(lineValues(lineGroups(in.height)) * stretch_), ends_(lineValues(lineGroups(in.height))),
          knots_(mostMemory()), curvatures_(mostMemory()) {}

    explicit operator bool() const noexcept { return starts_ && states_ && ends_ && knots_ && curvatures_; }
    int blocks() const noexcept { return blocks_; }
    int firstColumn(int block) const noexcept { return block * blockColumns_; }
    int columns(int block) const noexcept { return std::min(blockColumns_, columns_ - firstColumn(block)); }

    // Blocks are asked for from the last one to the first.
    void resample(int block, RowsResampled& out) noexcept {
        if (block + 1 == blocks_)
            forPanels(in_.height, kSplineLines, [this](int y, int lines) { eliminateUpToStretches(y, lines); });
        const bool entersStretch = block + 1 == blocks_ || (block + 1) % stretch_ == 0;
        if (entersStretch)
            forPanels(in_.height, kSplineLines, [&](int y, int lines) { eliminateUpToBlocks(block, y, lines); });
        forPanels(in_.height, kSplineLines, [&](int y, int lines) { resampleGroup(block, y, lines, out); });
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
        splineKernels().loadKnots(in_.row(y) + range.start(), in_.width, lines, range.loaded(), knots_.data());
    }

    // Takes the state before a block to the one before the next block.
    void eliminateBlock(int block, int y, int lines, float* state) noexcept {
        const KnotRange before = {range(block).first, range(block + 1).first};
        if (before.inner() == 0)
            return;
        load(y, lines, before);
        splineKernels().eliminate(knots_.data() + before.place(before.firstInner() - 1),
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
        const SplineLines solved = solve(spacing_, knots, knots_.data(), curvatures_.data(), state(y, block), end(y));
        std::copy_n(curvatures_.data() + knots.place(std::min(knots.first + 1, knots.last)), kSplineLines, end(y));
        forPanels(columns(block), kSplineLines, [&](int x, int count) {
            splineKernels().values(solved, spacing_.point(firstColumn(block) + x), count, out.panel(x) + lineValues(y));
        });
    }

    ImageView<const std::uint16_t> in_;
    const SplineSpacing& spacing_;
    int columns_;
    int blockColumns_;
    int blocks_;
    int stretch_;
    int stretches_;
    AlignedFloats starts_;
    AlignedFloats states_;
    AlignedFloats ends_;
    AlignedFloats knots_;
    AlignedFloats curvatures_;
};

// Resampling in blocks of columns from the last one to the first, each with all rows: the long way, which serves every
// image.
class BlockSplines {
public:
    BlockSplines(ImageView<const std::uint16_t> in, const SplineSpacing& alongRows, const SplineSpacing& downColumns)
        : downColumns_(downColumns), rows_(in, alongRows, alongRows.points()), resampled_(in.height, rows_.columns(0)),
          curvatures_(all().memory()) {}

    // Whether there is memory.
    explicit operator bool() const noexcept { return rows_ && resampled_ && curvatures_; }

    void resample(ImageView<std::uint16_t> out) noexcept {
        for (int block = rows_.blocks() - 1; block >= 0; --block) {
            rows_.resample(block, resampled_);
            forPanels(rows_.columns(block), kSplineLines,
                      [&](int x, int columns) { resamplePanel(block, x, columns, out); });
        }
    }

private:
    KnotRange all() const noexcept { return {0, downColumns_.lastKnot()}; }

    void resamplePanel(int block, int x, int columns, ImageView<std::uint16_t> out) noexcept {
        constexpr std::array<float, kSplineLines> kEnd{};
        std::array<float, kSplineLines> state{};
        const SplineLines solved =
            solve(downColumns_, all(), resampled_.panel(x), curvatures_.data(), state.data(), kEnd.data());
        splineKernels().pixels(solved, downColumns_.point(0), out.height, columns,
                               out.row(0) + rows_.firstColumn(block) + x, out.width);
    }

    const SplineSpacing& downColumns_;
    RowSplines rows_;
    RowsResampled resampled_;
    AlignedFloats curvatures_;
};

}  // namespace qx
