#pragma once

// A smooth random pattern: Gaussian supports on a square grid, joined by straight lines.

#include "PanelNoise.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace qxkit {

class SlowPattern {
public:
    SlowPattern(NoiseStream noise, int pitch, double sigma)
        : noise_(noise), pitch_(std::max(pitch, 1)), sigma_(sigma * kInterpolationLoss) {}

    // Fills one row of the pattern.
    void row(int row, std::vector<double>& values) const {
        const int upper = row / pitch_;
        const double share = static_cast<double>(row % pitch_) / pitch_;
        double left = supportBetween(upper, 0, share);
        double right = supportBetween(upper, 1, share);
        for (std::size_t column = 0; column < values.size(); ++column) {
            const auto phase = static_cast<int>(column) % pitch_;
            if (column != 0 && phase == 0) {
                left = right;
                right = supportBetween(upper, static_cast<int>(column) / pitch_ + 1, share);
            }
            values[column] = left + (right - left) * phase / pitch_;
        }
    }

private:
    // Between four supports the mean variance is (2/3)^2 of a support's.
    static constexpr double kInterpolationLoss = 1.5;
    static constexpr std::uint64_t kSupportsPerRow = 1U << 20;

    double support(int row, int column) const {
        const auto index = static_cast<std::uint64_t>(row) * kSupportsPerRow + static_cast<std::uint64_t>(column);
        return sigma_ * noise_.gaussian(index);
    }
    double supportBetween(int upper, int column, double share) const {
        const double above = support(upper, column);
        return above + (support(upper + 1, column) - above) * share;
    }

    NoiseStream noise_;
    int pitch_;
    double sigma_;
};

}  // namespace qxkit
