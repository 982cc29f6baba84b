#pragma once

#include "Builders.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace qx::test {

// A band is an image of 35 rows: row 24 is the one above the trigger line, the stripe ends there.
inline constexpr int kBandHeight = 35;

// Counts above the pedestal, row by row.
using BandColumn = std::array<int, kBandHeight>;

inline BandColumn bandColumn(int row24, int others, int row30) {
    BandColumn column;
    column.fill(others);
    column[24] = row24;
    column[30] = row30;
    return column;
}

inline TestImage bandOf(const std::vector<BandColumn>& columns) {
    TestImage band = constantImage(static_cast<int>(columns.size()), kBandHeight, 0);
    for (int row = 0; row < kBandHeight; ++row) {
        for (int col = 0; col < band.width; ++col)
            band.at(row, col) =
                static_cast<WORD>(208 + columns[static_cast<std::size_t>(col)][static_cast<std::size_t>(row)]);
    }
    return band;
}

// plainCount columns and oddCount ones that differ from them in row 30 alone. Resemblance counts above the smallest one
// only, that of two plain columns: rows of the odd ones hold all, and all are homogeneous.
inline TestImage bandOfTwoKinds(int plainCount, int oddCount, const BandColumn& plain, int oddRow30) {
    std::vector<BandColumn> columns(static_cast<std::size_t>(plainCount + oddCount), plain);
    for (int i = 0; i < oddCount; ++i)
        columns[columns.size() - 1 - static_cast<std::size_t>(i)][30] = oddRow30;
    return bandOf(columns);
}

enum class BandContent { Anything, Smooth, FewKinds, NearPedestal, Object, AtTheLimits };
inline constexpr BandContent kBandContents[] = {BandContent::Anything, BandContent::Smooth,
                                                BandContent::FewKinds, BandContent::NearPedestal,
                                                BandContent::Object,   BandContent::AtTheLimits};

// Signal of a band's rows relative to the undisturbed signal: a stripe that grows towards row 24 and a slope below it.
inline std::vector<double> randomProfile(SplitMix64& random) {
    constexpr double kDepths[] = {0.01, 0.03, 0.08, 0.15, 0.4};
    const int rows = 1 + random.below(random.below(2) == 0 ? 24 : 9);
    const double depth = kDepths[random.below(5)];
    const double slope = 0.004 * (random.uniform() - 0.5);
    std::vector<double> profile;
    for (int row = 0; row < kBandHeight; ++row) {
        const double step = row <= 24 ? std::max(0.0, 1.0 - (24.0 - row) / rows) : 0.0;
        profile.push_back(1.0 - depth * step + slope * std::max(0, row - 25));
    }
    return profile;
}

// Many of them with a stripe. Limits are 500, 1000 and 0.8 of `maxGrayValue`.
inline TestImage randomBand(int width, BandContent content, int maxGrayValue, SplitMix64& random) {
    const std::vector<double> profile = randomProfile(random);
    const double limits[] = {500.0, 1000.0, 0.8 * maxGrayValue};
    const double limit = limits[random.below(3)] - 208.0;
    double level = 6000.0;
    std::vector<double> signals;
    for (int col = 0; col < width; ++col) {
        if (content == BandContent::FewKinds)
            level = 4000.0 + 800.0 * random.below(3);
        else if (content == BandContent::Object && col % 32 == 0)
            level = std::pow(10.0, 2.6 + 2.1 * random.uniform());
        else if (content == BandContent::AtTheLimits)
            level = limit + 2 - random.below(3);
        signals.push_back(level);
    }
    const double noise = content == BandContent::Smooth || content == BandContent::Object ? 0.04 : 0.0;
    TestImage band = constantImage(width, kBandHeight, 0);
    for (std::size_t i = 0; i < band.pixels.size(); ++i) {
        const double signal = signals[i % signals.size()];
        const double shape = profile[i / signals.size()];
        double pixel = 208.5 + signal * shape + noise * std::sqrt(signal) * random.gaussian();
        if (content == BandContent::Anything)
            pixel = random.below(65536);
        else if (content == BandContent::NearPedestal)
            pixel = 204 + random.below(9);
        else if (content == BandContent::AtTheLimits)
            pixel = 208.5 + signal + (shape < 1.0 ? -2 : random.below(2));
        band.pixels[i] = static_cast<WORD>(std::clamp(pixel, 0.0, 65535.0));
    }
    return band;
}

}  // namespace qx::test
