#pragma once

#include "correction/afe/AfeBlocks.h"
#include "foundation/Scratch.h"

#include <span>

namespace qx {

// The fewest columns of a block whose edges can be judged.
inline constexpr int kMinEdgeBlock = 9;

// A column that takes the values of another one.
struct ColumnReplacement {
    int column;
    int source;
};

// Finds single bad columns at the edges of the blocks. Two replacements never touch each other: a source lies at most
// two columns inside its block.
class AfeEdges {
public:
    // afeWidth is at least kMinEdgeBlock.
    explicit AfeEdges(const AfeBlocks& blocks) noexcept;

    explicit operator bool() const noexcept { return sorted_ && found_; }

    // Judges the means of the columns. Logs every replacement.
    void find(std::span<const float> means) noexcept;

    std::span<const ColumnReplacement> replacements() const noexcept { return found_.span().first(count_); }

private:
    struct Edge;

    void judgeLeft(std::span<const float> segment, const Edge& edge) noexcept;
    void judgeRight(const Edge& edge) noexcept;
    float middle(std::span<const float> segment) noexcept;
    void replace(const ColumnReplacement& replacement) noexcept;

    AfeBlocks blocks_;
    Scratch<float> sorted_;
    Scratch<ColumnReplacement> found_;
    int count_ = 0;
};

}  // namespace qx
