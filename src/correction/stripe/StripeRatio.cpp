#include "correction/stripe/StripeRatio.h"

#include "correction/stripe/HomogeneousColumns.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Log.h"
#include "foundation/Pedestal.h"
#include "foundation/Scratch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <numeric>

namespace qx {
namespace {

using Ratio = std::array<double, kBandRows>;
using RatioView = std::span<const double, kBandRows>;

// A band with every pixel relative to that of its column in the reference row.
class NormalisedBand {
public:
    explicit NormalisedBand(const ImageView<const WORD>& band) noexcept
        : band_(band), reference_(band.width), row_(band.width) {
        if (!reference_)
            return;
        for (int c = 0; c < band.width; ++c)
            reference_[c] = signal(kReferenceRow, c);
    }

    explicit operator bool() const noexcept { return reference_ && row_; }

    const ImageView<const WORD>& pixels() const noexcept { return band_; }
    double value(int row, int column) const noexcept { return signal(row, column) / reference_[column]; }

    // A row's values, until the next one is asked for.
    const double* row(int row) noexcept {
        for (int c = 0; c < band_.width; ++c)
            row_[c] = value(row, c);
        return row_.data();
    }

private:
    // Never 0 in the reference row, by which others are divided.
    double signal(int row, int column) const noexcept {
        constexpr float kFaintest = 5e-5f;
        const float counts = std::abs(band_.at(row, column) - kPedestal);
        return row == kReferenceRow ? std::max(counts, kFaintest) : counts;
    }

    ImageView<const WORD> band_;
    Scratch<double> reference_;
    Scratch<double> row_;
};

// Columns whose pixels all lie between `lowest` and four fifths of the largest gray value.
class UsableColumns {
public:
    explicit UsableColumns(int width) noexcept : lowest_(width), highest_(width), columns_(width) {}

    explicit operator bool() const noexcept { return lowest_ && highest_ && columns_; }

    void find(const ImageView<const WORD>& band, WORD lowest) noexcept {
        constexpr float kUsableShare = 0.8f;
        // Kept: the ceiling is compared as a 16-bit value.
        const auto ceiling = static_cast<WORD>(truncateToInt(maxGrayValue * kUsableShare));
        std::copy_n(band.row(0), band.width, lowest_.data());
        std::copy_n(band.row(0), band.width, highest_.data());
        for (int r = 1; r < kBandRows; ++r)
            widen(band.rowSpan(r), lowest_.data(), highest_.data());
        count_ = 0;
        for (int c = 0; c < band.width; ++c) {
            if (lowest_[c] >= lowest && highest_[c] <= ceiling) {
                columns_[count_] = c;
                ++count_;
            }
        }
    }

    std::span<const int> columns() const noexcept { return columns_.span().first(count_); }

private:
    static void widen(std::span<const WORD> row, WORD* __restrict lowest, WORD* __restrict highest) noexcept {
        for (std::size_t c = 0; c < row.size(); ++c) {
            lowest[c] = std::min(lowest[c], row[c]);
            highest[c] = std::max(highest[c], row[c]);
        }
    }

    Scratch<WORD> lowest_;
    Scratch<WORD> highest_;
    Scratch<int> columns_;
    int count_ = 0;
};

// About kSampledColumns of the band's columns, evenly spread.
constexpr double kSampledColumns = 500.0;

class SampledBand {
public:
    explicit SampledBand(int width) noexcept
        : step_(static_cast<int>(std::ceil(static_cast<float>(width / kSampledColumns)))),
          values_(1 + (width - 1) / step_, kBandRows) {}

    explicit operator bool() const noexcept { return static_cast<bool>(values_); }

    void fill(const NormalisedBand& band) noexcept {
        const ImageView<double> sampled = view();
        for (int r = 0; r < kBandRows; ++r)
            for (int k = 0; k < sampled.width; ++k)
                sampled.at(r, k) = band.value(r, k * step_);
    }

    ImageView<double> view() noexcept { return values_.view(); }

private:
    int step_;
    ScratchImage<double> values_;
};

// What the ratio is measured from.
struct Measurement {
    explicit Measurement(const ImageView<const WORD>& band) noexcept
        : normalised(band), usable(band.width), sampled(band.width) {}

    explicit operator bool() const noexcept { return normalised && usable && sampled; }

    NormalisedBand normalised;
    UsableColumns usable;
    SampledBand sampled;
};

// The mean of some columns of a row.
double meanOf(const double* row, std::span<const int> columns) noexcept {
    double sum = 0.0;
    for (const int column : columns)
        sum += row[column];
    return sum / columns.size();
}

Ratio smoothed(const Ratio& ratio) noexcept {
    Ratio result = ratio;
    for (int i = 1; i < kReferenceRow; ++i)
        result[i] = (ratio[i - 1] + ratio[i] + ratio[i + 1]) / 3.0;
    return result;
}

// Steps from row to row, less the mean step below the trigger line.
std::array<double, kBandRows - 1> stepsOf(const Ratio& ratio) noexcept {
    std::array<double, kBandRows - 1> steps;
    for (int i = 0; i < kBandRows - 1; ++i)
        steps[i] = ratio[i + 1] - ratio[i];
    const double base = std::accumulate(steps.begin() + kTriggerRow, steps.end(), 0.0) / kRowsBelow;
    for (double& step : steps)
        step -= base;
    return steps;
}

// Rows above the trigger line that fall towards it; kNoStripeRatio when the last two do not. The signal falls row by
// row and jumps back at the trigger line: steps are measured by that jump, of which they are negative parts.
int countFallingRows(const Ratio& ratio) noexcept {
    constexpr double kPlausiblePart = -40.0;
    constexpr double kFallingPart = -100.0;
    const auto steps = stepsOf(ratio);
    const double jump = steps[kReferenceRow];
    const double plausible = jump / kPlausiblePart;
    if (steps[kReferenceRow - 2] >= plausible || steps[kReferenceRow - 1] >= plausible)
        return kNoStripeRatio;
    const double falling = jump / kFallingPart;
    int rows = 0;
    for (int i = kReferenceRow - 1; i >= 0 && steps[i] < falling; --i)
        ++rows;
    return std::max(rows, 1);
}

void measureUsable(Measurement& measurement, std::span<double, kBandRows> ratio) noexcept {
    for (int r = 0; r < kBandRows; ++r)
        ratio[r] = meanOf(measurement.normalised.row(r), measurement.usable.columns());
}

// All columns that are bright enough tell the ratio of a faint stripe better than a sample of them.
int refinedRatio(Measurement& measurement, int rows, std::span<double, kBandRows> ratio) noexcept {
    constexpr WORD kDarkest = 1000;
    measurement.usable.find(measurement.normalised.pixels(), kDarkest);
    if (measurement.usable.columns().empty()) {
        logInfo(kLogNoValue, "No valid columns found. Poor compensation performance is expected.");
        return rows;
    }
    measureUsable(measurement, ratio);
    logInfo(kLogNoValue, "Ratio updated.");
    rows = countRowsToCompensate(ratio);
    logInfo(kLogNoValue, "Re-evaluate the number of rows to compensate -- %d rows.", rows);
    return rows;
}

// From the columns that resemble each other.
int ratioOfHomogeneous(Measurement& measurement, std::span<const int> columns,
                       std::span<double, kBandRows> ratio) noexcept {
    constexpr double kFaintStripe = 1.1;
    Ratio mean;
    for (int r = 0; r < kBandRows; ++r)
        mean[r] = meanOf(measurement.sampled.view().row(r), columns);
    // Kept: smoothed values tell where the stripe ends, but do not correct it.
    const int rows = countFallingRows(smoothed(mean));
    if (rows == kNoStripeRatio) {
        // Kept: the second method is not tried.
        logInfo(kLogNoValue,
                "Method 1 is unable to proceed since the grayscale value at cTRIGGER_LINE is too low (almost in the "
                "noise level), or the band is too wide (e.g., >15 rows).");
        return kNoStripeRatio;
    }
    logInfo(kLogNoValue, "Method 1 finds %d homogeneous columns, and %d rows to compensate",
            static_cast<int>(columns.size()), rows);
    std::ranges::copy(mean, ratio.begin());
    return ratio[kTriggerRow] <= kFaintStripe ? refinedRatio(measurement, rows, ratio) : rows;
}

// From all columns that are bright enough.
int ratioOfUsable(Measurement& measurement, std::span<double, kBandRows> ratio) noexcept {
    // Kept: darker columns count here than among homogeneous ones.
    constexpr WORD kDarkest = 500;
    std::ranges::fill(ratio, 0.0);
    measurement.usable.find(measurement.normalised.pixels(), kDarkest);
    if (measurement.usable.columns().empty()) {
        logInfo(kLogNoValue, "Method 2 is unable to proceed since no valid columns could be found.");
        return kNoStripeRatio;
    }
    measureUsable(measurement, ratio);
    const int rows = countRowsToCompensate(ratio);
    logInfo(kLogNoValue, "Method 2 finds %d rows to compensate", rows);
    return rows;
}

// Whether no row between row k and the trigger line lies above the straight line between them.
bool staysBelowLine(RatioView ratio, int k) noexcept {
    const int d = kTriggerRow - k;
    for (int m = 1; m < d; ++m)
        if (ratio[k + m] > ((d - m) * ratio[k] + m * ratio[kTriggerRow]) / d)
            return false;
    return true;
}

}  // namespace

// Row k is the last one that keeps its level: the rows between it and the trigger line are to follow the straight line
// that joins the two. Going up from the row before the reference row, a row counts as long as no row lies above its
// line. The best line goes on from the rows at either end: its cost is how far its slope differs from the step to row k
// and from the slope below the trigger line.
int countRowsToCompensate(RatioView ratio) noexcept {
    constexpr double kMeanDistanceBelow = (kRowsBelow + 1) / 2.0;
    const double below = std::accumulate(ratio.begin() + kTriggerRow + 1, ratio.end(), 0.0) / kRowsBelow;
    const double slopeBelow = (below - ratio[kTriggerRow]) / kMeanDistanceBelow;
    int rows = 0;
    double lowestCost = 0.0;
    for (int k = kReferenceRow - 1; k >= 1 && staysBelowLine(ratio, k); --k) {
        const double slope = (ratio[kTriggerRow] - ratio[k]) / (kTriggerRow - k);
        const double step = ratio[k] - ratio[k - 1];
        const double cost = std::fabs(slope - step) + std::fabs(slopeBelow - slope);
        if (rows == 0 || cost < lowestCost) {
            lowestCost = cost;
            rows = kReferenceRow - k;
        }
    }
    return rows;
}

int calcStripeRatio(const ImageView<const WORD>& band, std::span<double, kBandRows> ratio) noexcept {
    constexpr int kMinHomogeneousColumns = 20;
    Measurement measurement(band);
    if (!measurement)
        return kNoStripeMemory;
    const ImageView<const double> sampled = measurement.sampled.view();
    Scratch<int> columns(sampled.width);
    if (!columns)
        return kNoStripeMemory;
    measurement.sampled.fill(measurement.normalised);
    const int count = findHomogeneousColumns(sampled, columns.span());
    if (count == kNoStripeMemory)
        return kNoStripeMemory;
    return count >= kMinHomogeneousColumns ? ratioOfHomogeneous(measurement, columns.span().first(count), ratio)
                                           : ratioOfUsable(measurement, ratio);
}

}  // namespace qx
