#include "quality/exposure/BalancedMedians.h"

#include "correction/afe/AfeMeasurement.h"
#include "foundation/CacheLine.h"
#include "foundation/Panels.h"
#include "numerics/statistics/BlockMedians.h"

#include <algorithm>
#include <array>

namespace qx {
namespace {

// A column of blocks under the balance.
struct BlockColumn {
    int first;
    std::span<const float> gains;
    std::span<const ColumnReplacement> replacements;
    float commonGain;  // of all its columns, none of which is replaced; 0 when there is none
};

float commonGain(std::span<const float> gains) noexcept {
    const float gain = gains[0];
    const bool isCommon = std::ranges::all_of(gains, [gain](float other) { return other == gain; });
    return isCommon ? gain : 0.0f;
}

BlockColumn blockColumn(const Balance& balance, int x) noexcept {
    const int first = x * kBlockSide;
    const auto from = [&](int column) {
        return std::ranges::lower_bound(balance.replacements, column, {}, &ColumnReplacement::column);
    };
    const std::span<const ColumnReplacement> replacements(from(first), from(first + kBlockSide));
    const std::span gains = balance.columnGains.subspan(first, kBlockSide);
    return {first, gains, replacements, replacements.empty() ? commonGain(gains) : 0.0f};
}

// Values of a row of a block that is balanced.
template <Difference difference>
void balanceRow(const Exposure& exposure, const BlockColumn& column, int y,
                std::span<float, kBlockSide> values) noexcept {
    const WORD* const bright = exposure.image.row(y) + column.first;
    const WORD* const dark = exposure.dark.row(y) + column.first;
    for (int x = 0; x < kBlockSide; ++x)
        values[x] = difference(bright[x], dark[x]);
    for (const auto& [replaced, source] : column.replacements)
        values[replaced - column.first] = difference(bright[source - column.first], dark[source - column.first]);
    scaleRow(values, column.gains);
}

// The median of a block's values themselves.
template <Difference difference>
float medianOfValues(const Exposure& exposure, const BlockColumn& column, int blockRow) noexcept {
    alignas(kCacheLineBytes) std::array<float, kBlockSide * kBlockSide> values;
    for (int i = 0; i < kBlockSide; ++i) {
        const std::span<float, kBlockSide> row(&values[i * kBlockSide], kBlockSide);
        balanceRow<difference>(exposure, column, blockRow * kBlockSide + i, row);
    }
    float median = 0.0f;
    blockMedians(values.data(), kBlockSide, 1, &median);
    return median;
}

// Scaling by one gain keeps the order of the values, so the median's place; only what is saturated stays as it is, and
// has to stay above the others. A median of 0 hides what the values below are.
template <Difference difference>
float balancedMedian(const Exposure& exposure, const BlockColumn& column, int blockRow, float ofDifferences) noexcept {
    const float gain = column.commonGain;
    const float value = difference(static_cast<WORD>(ofDifferences), 0);
    if (gain > 0 && value > 0) {
        const float scaled = value * gain;
        if (value < kSaturatedPixel ? scaled <= kSaturatedPixel : gain <= 1)
            return value < kSaturatedPixel ? scaled : value;
    }
    return medianOfValues<difference>(exposure, column, blockRow);
}

}  // namespace

template <Difference difference>
void balancedMedians(const Exposure& exposure, const Balance& balance, const ImageView<const float>& medians,
                     const ImageView<float>& balanced) noexcept {
    // So many columns of blocks need no memory that may be missing.
    constexpr int kPanelBlocks = 64;
    std::array<BlockColumn, kPanelBlocks> panel;
    forPanels(medians.width, kPanelBlocks, [&](int first, int columns) {
        for (int x = 0; x < columns; ++x)
            panel[x] = blockColumn(balance, first + x);
        for (int y = 0; y < medians.height; ++y)
            for (int x = 0; x < columns; ++x)
                balanced.at(y, first + x) = balancedMedian<difference>(exposure, panel[x], y, medians.at(y, first + x));
    });
}

template void balancedMedians<signedDifference>(const Exposure&, const Balance&, const ImageView<const float>&,
                                                const ImageView<float>&) noexcept;
template void balancedMedians<raisedDifference>(const Exposure&, const Balance&, const ImageView<const float>&,
                                                const ImageView<float>&) noexcept;

}  // namespace qx
