#include "correction/afe/AfeEdges.h"

#include "QxUtils/Foundation.h"
#include "foundation/Log.h"
#include "numerics/statistics/ExchangeSelection.h"

#include <cmath>

namespace qx {
namespace {

// A step between two column means, relative to the block's median, above which the two disagree.
constexpr float kJump = 0.0025f;

// A deviation from the median of the first nine columns above which a left edge is replaced in any case.
constexpr float kFarOff = 0.25f;

void logFound(const char* prefix, const ColumnReplacement& replacement) noexcept {
    logInfo(kLogNoValue, "%sfind bad column at %d, replace it by column %d", prefix, replacement.column,
            replacement.source);
}

}  // namespace

// The three steps next to an edge, outermost first.
struct AfeEdges::Edge {
    int column;
    int inwards;  // +1 from the left edge, -1 from the right one
    bool jumps[3];

    bool are(bool first, bool second, bool third) const noexcept {
        return jumps[0] == first && jumps[1] == second && jumps[2] == third;
    }
    ColumnReplacement by(int distance) const noexcept { return {column, column + inwards * distance}; }
};

AfeEdges::AfeEdges(const AfeBlocks& blocks) noexcept
    : blocks_(blocks), sorted_(blocks.afeWidth), found_(2, blocks.count()) {}

void AfeEdges::find(std::span<const float> means) noexcept {
    count_ = 0;
    for (int block = 0; block < blocks_.count(); ++block) {
        const std::span<const float> segment = means.subspan(blocks_.first(block), blocks_.afeWidth);
        const float median = middle(segment);
        const auto jump = [&](int i) { return std::fabs((segment[i + 1] - segment[i]) / median) > kJump; };
        const int last = blocks_.afeWidth - 1;
        judgeLeft(segment, {blocks_.first(block), 1, {jump(0), jump(1), jump(2)}});
        judgeRight({blocks_.last(block), -1, {jump(last - 1), jump(last - 2), jump(last - 3)}});
    }
}

void AfeEdges::judgeLeft(std::span<const float> segment, const Edge& edge) noexcept {
    if (edge.are(false, true, false))
        return replace(edge.by(2));
    if (edge.are(true, false, false))
        return replace(edge.by(1));
    if (!edge.are(true, true, true))
        return;
    const float median = middle(segment.first<kMinEdgeBlock>());
    if (std::fabs(segment[0] - median) / median > kFarOff) {
        logFound("loc, ", edge.by(1));
        return replace(edge.by(1));
    }
    // Kept: the log tells of a replacement that does not take place.
    logFound("", edge.by(1));
}

void AfeEdges::judgeRight(const Edge& edge) noexcept {
    if (edge.are(false, true, false))
        return replace(edge.by(2));
    // Kept: three jumps need no deviation from the median here, unlike at the left edge.
    if (edge.are(true, false, false) || edge.are(true, true, true))
        replace(edge.by(1));
}

// Element n/2 in ascending order.
float AfeEdges::middle(std::span<const float> segment) noexcept {
    return exchangeMiddle<SortOrder::Ascending>(segment.data(), static_cast<int>(segment.size()), sorted_.data());
}

void AfeEdges::replace(const ColumnReplacement& replacement) noexcept {
    logFound("", replacement);
    found_[count_] = replacement;
    ++count_;
}

}  // namespace qx
