#include "correction/stripe/StripeSuppression.h"

#include "foundation/CheckedNumbers.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace qx {
namespace {

constexpr float kFaintest = 5e-5f;
constexpr int kReferenceRow = kTriggerRow - 1;
constexpr int kMinHomogeneousColumns = 20;

using Ratio = std::array<double, kBandRows>;

constexpr std::size_t at(int row) {
    return static_cast<std::size_t>(row);
}

// A band with every column relative to its pixel above the trigger line.
class NormalisedBand {
public:
    NormalisedBand(const WORD* band, int width) noexcept
        : band_(band), width_(width), reference_(static_cast<std::size_t>(width)),
          row_(static_cast<std::size_t>(width)) {
        if (!reference_)
            return;
        for (int c = 0; c < width; ++c)
            reference_[static_cast<std::size_t>(c)] =
                static_cast<double>(std::max(signal(kReferenceRow, c), kFaintest));
    }

    explicit operator bool() const noexcept { return reference_ && row_; }

    int width() const noexcept { return width_; }
    const WORD* pixels(int row) const noexcept { return band_ + static_cast<std::ptrdiff_t>(row) * width_; }

    double value(int row, int column) const noexcept {
        const float numerator = row == kReferenceRow ? std::max(signal(row, column), kFaintest) : signal(row, column);
        return static_cast<double>(numerator) / reference_[static_cast<std::size_t>(column)];
    }

    // A row's values, until the next one is asked for.
    const double* row(int row) noexcept {
        for (int c = 0; c < width_; ++c)
            row_[static_cast<std::size_t>(c)] = value(row, c);
        return row_.data();
    }

private:
    float signal(int row, int column) const noexcept {
        return std::fabs(static_cast<float>(pixels(row)[column]) - kPedestal);
    }

    const WORD* band_;
    int width_;
    Scratch<double> reference_;
    Scratch<double> row_;
};

// Columns whose pixels all lie between `lowest` and 0.8 of the largest gray value.
class UsableColumns {
public:
    explicit UsableColumns(int width) noexcept
        : lowest_(static_cast<std::size_t>(width)), highest_(static_cast<std::size_t>(width)),
          columns_(static_cast<std::size_t>(width)) {}

    explicit operator bool() const noexcept { return lowest_ && highest_ && columns_; }

    void find(const NormalisedBand& band, WORD lowest) noexcept {
        // Kept: the ceiling is compared as a 16-bit value.
        const auto ceiling = static_cast<WORD>(truncateToInt(static_cast<float>(maxGrayValue) * 0.8f));
        std::copy_n(band.pixels(0), band.width(), lowest_.data());
        std::copy_n(band.pixels(0), band.width(), highest_.data());
        for (int r = 1; r < kBandRows; ++r)
            widen(band.pixels(r), band.width(), lowest_.data(), highest_.data());
        count_ = 0;
        for (int c = 0; c < band.width(); ++c)
            if (lowest_[static_cast<std::size_t>(c)] >= lowest && highest_[static_cast<std::size_t>(c)] <= ceiling)
                columns_[static_cast<std::size_t>(count_++)] = c;
    }

    int count() const noexcept { return count_; }

    void meanOf(NormalisedBand& band, double* ratio) const noexcept {
        for (int r = 0; r < kBandRows; ++r) {
            const double* const values = band.row(r);
            double sum = 0.0;
            for (int i = 0; i < count_; ++i)
                sum += values[columns_[static_cast<std::size_t>(i)]];
            ratio[r] = sum / count_;
        }
    }

private:
    static void widen(const WORD* pixels, int width, WORD* __restrict lowest, WORD* __restrict highest) noexcept {
        for (int c = 0; c < width; ++c) {
            lowest[c] = std::min(lowest[c], pixels[c]);
            highest[c] = std::max(highest[c], pixels[c]);
        }
    }

    Scratch<WORD> lowest_;
    Scratch<WORD> highest_;
    Scratch<int> columns_;
    int count_ = 0;
};

// About 500 of the band's columns, evenly spread.
struct SampledBand {
    explicit SampledBand(int width) noexcept
        : step(static_cast<int>(std::ceil(static_cast<float>(width / 500.0)))),
          count(static_cast<int>(std::ceil(static_cast<double>(width) / step))),
          values(static_cast<std::size_t>(kBandRows) * static_cast<std::size_t>(count)) {}

    void fill(const NormalisedBand& band) noexcept {
        for (int r = 0; r < kBandRows; ++r)
            for (int k = 0; k < count; ++k)
                row(r)[k] = band.value(r, k * step);
    }

    double* row(int r) noexcept { return values.data() + static_cast<std::ptrdiff_t>(r) * count; }

    int step;
    int count;
    Scratch<double> values;
};

Ratio smoothed(const Ratio& ratio) noexcept {
    Ratio result = ratio;
    for (int i = 1; i < kReferenceRow; ++i)
        result[at(i)] = (ratio[at(i - 1)] + ratio[at(i)] + ratio[at(i + 1)]) / 3.0;
    return result;
}

// Steps from row to row, less the mean step below the trigger line.
std::array<double, kBandRows - 1> stepsOf(const Ratio& ratio) noexcept {
    std::array<double, kBandRows - 1> steps;
    for (int i = 0; i < kBandRows - 1; ++i)
        steps[at(i)] = ratio[at(i + 1)] - ratio[at(i)];
    const double base = std::accumulate(steps.begin() + kTriggerRow, steps.end(), 0.0) / 9.0;
    for (double& step : steps)
        step -= base;
    return steps;
}

// Rows above the trigger line that fall towards it; kNoStripeRatio when the last two do not.
int countFallingRows(const Ratio& ratio) noexcept {
    const auto steps = stepsOf(ratio);
    const double jump = steps[kReferenceRow];
    const double implausible = jump / -40.0;
    if (steps[kReferenceRow - 2] >= implausible || steps[kReferenceRow - 1] >= implausible)
        return kNoStripeRatio;
    const double flat = jump / -100.0;
    int rows = 0;
    for (int i = kReferenceRow - 1; i >= 0 && steps[at(i)] < flat; --i)
        ++rows;
    return std::max(rows, 1);
}

// From the columns that resemble each other.
int ratioOfHomogeneous(NormalisedBand& band, UsableColumns& usable, SampledBand& sampled, const int* columns, int count,
                       double* ratio) noexcept {
    Ratio mean;
    for (int r = 0; r < kBandRows; ++r) {
        double sum = 0.0;
        for (int i = 0; i < count; ++i)
            sum += sampled.row(r)[columns[i]];
        mean[at(r)] = sum / count;
    }
    // Kept: smoothed values tell where the stripe ends, but do not correct it.
    int rows = countFallingRows(smoothed(mean));
    if (rows == kNoStripeRatio) {
        logInfo(kLogNoValue,
                "Method 1 is unable to proceed since the grayscale value at cTRIGGER_LINE is too low (almost in the "
                "noise level), or the band is too wide (e.g., >15 rows).");
        return kNoStripeRatio;
    }
    logInfo(kLogNoValue, "Method 1 finds %d homogeneous columns, and %d rows to compensate", count, rows);
    std::ranges::copy(mean, ratio);
    constexpr double kSteepest = 1.1;
    if (!(ratio[kTriggerRow] <= kSteepest))
        return rows;
    constexpr WORD kDarkest = 1000;
    usable.find(band, kDarkest);
    if (usable.count() == 0) {
        logInfo(kLogNoValue, "No valid columns found. Poor compensation performance is expected.");
        return rows;
    }
    usable.meanOf(band, ratio);
    logInfo(kLogNoValue, "Ratio updated.");
    rows = countRowsToCompensate(ratio);
    logInfo(kLogNoValue, "Re-evaluate the number of rows to compensate -- %d rows.", rows);
    return rows;
}

// From all columns that are bright enough.
int ratioOfUsable(NormalisedBand& band, UsableColumns& usable, double* ratio) noexcept {
    // Kept: darker columns count here than among homogeneous ones.
    constexpr WORD kDarkest = 500;
    std::fill_n(ratio, kBandRows, 0.0);
    usable.find(band, kDarkest);
    if (usable.count() == 0) {
        logInfo(kLogNoValue, "Method 2 is unable to proceed since no valid columns could be found.");
        return kNoStripeRatio;
    }
    usable.meanOf(band, ratio);
    const int rows = countRowsToCompensate(ratio);
    logInfo(kLogNoValue, "Method 2 finds %d rows to compensate", rows);
    return rows;
}

// Whether no row between row k and the trigger line, d rows below it, lies above the straight line between them.
bool staysBelowLine(const double* ratio, int k, int d) noexcept {
    for (int m = 1; m < d; ++m)
        if (ratio[k + m] > ((d - m) * ratio[k] + m * ratio[kTriggerRow]) / d)
            return false;
    return true;
}

}  // namespace

std::uint32_t maxGrayValue = 0;

int countRowsToCompensate(const double* ratio) noexcept {
    constexpr int kCandidates = 23;
    constexpr int kRowsBelow = kBandRows - kTriggerRow - 1;
    const double below = std::accumulate(ratio + kTriggerRow + 1, ratio + kBandRows, 0.0) / kRowsBelow;
    const double slopeBelow = (below - ratio[kTriggerRow]) / 5.0;
    int rows = 0;
    double lowestCost = 0.0;
    for (int j = 0; j < kCandidates; ++j) {
        const int k = kCandidates - j;
        const int d = kTriggerRow - k;
        if (!staysBelowLine(ratio, k, d))
            break;
        const double slope = (ratio[kTriggerRow] - ratio[k]) / d;
        const double step = ratio[k] - ratio[k - 1];
        const double cost = std::fabs(slope - step) + std::fabs(slopeBelow - slope);
        if (j == 0 || cost < lowestCost) {
            lowestCost = cost;
            rows = j + 1;
        }
    }
    return rows;
}

int calcStripeRatio(double* ratio, const WORD* band, int width) noexcept {
    NormalisedBand normalised(band, width);
    UsableColumns usable(width);
    SampledBand sampled(width);
    Scratch<int> columns(static_cast<std::size_t>(sampled.count));
    if (!normalised || !usable || !sampled.values || !columns)
        return kNoStripeMemory;
    sampled.fill(normalised);
    const int count = findHomogeneousColumns(sampled.values.data(), sampled.count, columns.data());
    if (count == kNoStripeMemory)
        return kNoStripeMemory;
    return count >= kMinHomogeneousColumns
               ? ratioOfHomogeneous(normalised, usable, sampled, columns.data(), count, ratio)
               : ratioOfUsable(normalised, usable, ratio);
}

}  // namespace qx
