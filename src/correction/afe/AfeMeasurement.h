#pragma once

#include "correction/afe/AfeBlocks.h"
#include "correction/afe/AfeEdges.h"
#include "foundation/FloatRows.h"
#include "foundation/Scratch.h"

#include <span>

namespace qx {

// Whether the steps between the blocks can be measured.
inline bool measurable(const AfeBlocks& blocks) noexcept {
    return blocks.afeWidth >= kMinEdgeBlock && blocks.afeWidth <= blocks.width;
}

// The detector's AFE width; 32 when it does not tell.
int detectorAfeWidth() noexcept;

// Ratios at the boundaries of a row: of neighbouring columns, whose values valueAt gives. Kept: they point away from
// the reference block.
template <class ValueAt>
void neighbourRatios(ValueAt valueAt, const AfeBlocks& blocks, std::span<float> ratios) noexcept {
    const int reference = blocks.reference();
    int left = blocks.last(0);
    for (int k = 0; k < reference; ++k, left += blocks.afeWidth)
        ratios[k] = valueAt(left) / valueAt(left + 1);
    for (int k = reference; k < blocks.boundaries(); ++k, left += blocks.afeWidth)
        ratios[k] = valueAt(left + 1) / valueAt(left);
}
void neighbourRatios(std::span<const float> row, const AfeBlocks& blocks, std::span<float> ratios) noexcept;

// Gains from the median ratios of the boundaries.
void gainsOf(std::span<const float> medianRatios, const AfeBlocks& blocks, std::span<float> gains) noexcept;

// One factor for each of the columns from `first` on: its block's gain, or 1 where there is none.
void spreadGains(std::span<const float> gains, const AfeBlocks& blocks, int first,
                 std::span<float> columnGains) noexcept;

// Pixels from this value on are saturated.
inline constexpr float kSaturatedPixel = 65535.0f;

// Multiplies pixels by their columns' gains, saturated ones excepted. A gain of 1 keeps every bit.
void scaleRow(std::span<float> pixels, std::span<const float> columnGains) noexcept;

// Measures the gain steps between the AFE blocks of an image from its rows. The blocks must be measurable.
class AfeMeasurement {
public:
    AfeMeasurement(const AfeBlocks& blocks, int height) noexcept;

    explicit operator bool() const noexcept { return ratios_ && edges_ && columns_ && medians_ && gains_; }

    // Logs which buffer is missing.
    void logMissingBuffer() const noexcept;

    // For a pass over the image that is made elsewhere: adds each column to its sum, which is 0 at first, in the order
    // of the rows, and takes the ratios of each row.
    void beginPass() noexcept;
    std::span<float> sums() noexcept { return columns_.span(); }
    ImageView<float> ratios() noexcept { return ratios_.view(); }

    // Reads the rows from top to bottom unless a pass was begun. Returns 0, or 1035 when memory is short. Logs the
    // search for bad edges.
    int measure(FloatRows& rows) noexcept;

    const AfeBlocks& blocks() const noexcept { return blocks_; }

    // Replacements of bad edge columns, which the measurement took into account.
    std::span<const ColumnReplacement> replacements() const noexcept { return edges_.replacements(); }

    // One factor a column.
    std::span<const float> columnGains() const noexcept { return columns_.span(); }

private:
    void passOver(FloatRows& rows) noexcept;
    void findEdges() noexcept;
    void useReplacements(const FloatRows& rows) noexcept;

    AfeBlocks blocks_;
    int height_;
    ScratchImage<float> ratios_;  // one column a boundary
    AfeEdges edges_;
    Scratch<float> columns_;  // sums, then means, then gains
    Scratch<float> medians_;
    Scratch<float> gains_;
    bool hadPass_ = false;
};

}  // namespace qx
