#include "correction/stripe/StripeSuppression.h"

#include "foundation/Scratch.h"
#include "kernels/SumKernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace qx {
namespace {

constexpr double kBinWidth = 0.004;

// Logarithms to within kLogError, from a table.
constexpr double kLogError = 1e-7;

class LogTable {
public:
    LogTable() noexcept {
        for (std::size_t i = 0; i < values_.size(); ++i)
            values_[i] = std::log10(1.0 + static_cast<double>(i) / kParts);
    }

    // Of a number from 1 on.
    double at(double number) const noexcept {
        constexpr double kLogOfTwo = 0.30102999566398119521;
        constexpr std::uint64_t kRest = (std::uint64_t{1} << kRestBits) - 1;
        const auto bits = std::bit_cast<std::uint64_t>(number);
        const auto exponent = static_cast<int>(bits >> 52) - 1023;
        const std::size_t part = (bits >> kRestBits) & (kParts - 1);
        const double rest = static_cast<double>(static_cast<std::int64_t>(bits & kRest)) * kRestShare;
        return exponent * kLogOfTwo + values_[part] + (values_[part + 1] - values_[part]) * rest;
    }

private:
    static constexpr std::size_t kParts = 1024;
    static constexpr int kRestBits = 42;
    static constexpr double kRestShare = 1.0 / static_cast<double>(std::uint64_t{1} << kRestBits);

    std::array<double, kParts + 1> values_;
};

// The logarithm of the product of every pair of columns, summed over the rows. Those of (i, j) and (j, i) are the same.
// Approximations are kept; what they leave open, the exact value decides.
class Similarities {
public:
    Similarities(const double* sampled, int count) noexcept
        : sampled_(sampled), count_(count),
          values_(static_cast<std::size_t>(count) * (static_cast<std::size_t>(count) + 1) / 2) {}

    explicit operator bool() const noexcept { return static_cast<bool>(values_); }

    void fill() noexcept {
        static const LogTable table;
        for (int i = 0; i < count_; ++i) {
            double* const logs = row(i) + i;
            productsOf(i, i, count_ - i, logs);
            for (int k = 0; k < count_ - i; ++k)
                logs[k] = table.at(logs[k]);
        }
    }

    // Calls visit(i, j, approximation) for i <= j.
    template <class Visit>
    void visitPairs(Visit visit) const {
        for (int i = 0; i < count_; ++i)
            for (int j = i; j < count_; ++j)
                visit(i, j, row(i)[j]);
    }

    double approximate(int i, int j) const noexcept { return i <= j ? row(i)[j] : row(j)[i]; }
    double exact(int i, int j) const noexcept {
        double product = 0.0;
        productsOf(i, j, 1, &product);
        return std::log10(product);
    }

    // The exact extremes.
    struct Range {
        double lowest;
        double highest;
    };
    Range range() const noexcept {
        double low = row(0)[0];
        double high = low;
        visitPairs([&](int, int, double value) {
            low = std::min(low, value);
            high = std::max(high, value);
        });
        Range range{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
        visitPairs([&](int i, int j, double value) {
            if (value <= low + 2 * kLogError)
                range.lowest = std::min(range.lowest, exact(i, j));
            if (value >= high - 2 * kLogError)
                range.highest = std::max(range.highest, exact(i, j));
        });
        return range;
    }

private:
    // row(i)[j] for j >= i.
    std::ptrdiff_t rowOffset(int i) const noexcept {
        return static_cast<std::ptrdiff_t>(i) * count_ - static_cast<std::ptrdiff_t>(i) * (i + 1) / 2;
    }
    const double* row(int i) const noexcept { return values_.data() + rowOffset(i); }
    double* row(int i) noexcept { return values_.data() + rowOffset(i); }

    // The sums of the products of column i with `columns` of them from j on, in the order of the rows.
    void productsOf(int i, int j, int columns, double* sums) const noexcept {
        std::array<double, kBandRows> column;
        for (int r = 0; r < kBandRows; ++r)
            column[static_cast<std::size_t>(r)] = sampled_[static_cast<std::ptrdiff_t>(r) * count_ + i];
        sumKernels().columnProducts(column.data(), kBandRows, sampled_ + j, count_, columns, sums);
    }

    const double* sampled_;
    int count_;
    Scratch<double> values_;
};

// The similarities of pairs, in bins of about kBinWidth. Every border belongs to both bins beside it.
class SimilarityHistogram {
public:
    explicit SimilarityHistogram(const Similarities::Range& range) noexcept
        : lowest_(range.lowest), bins_(static_cast<int>(std::floor((range.highest - range.lowest) / kBinWidth)) + 1),
          width_((range.highest - range.lowest) / bins_), binsPerUnit_(width_ > 0.0 ? 1.0 / width_ : 0.0),
          borderShare_(2 * kLogError * binsPerUnit_), counts_(static_cast<std::size_t>(bins_)) {
        if (counts_)
            std::ranges::fill(counts_.span(), 0);
    }

    explicit operator bool() const noexcept { return static_cast<bool>(counts_); }

    void fill(const Similarities& similarities) noexcept {
        similarities.visitPairs([&](int i, int j, double approximation) {
            const int times = i == j ? 1 : 2;
            const double position = (approximation - lowest_) * binsPerUnit_;
            const int bin = static_cast<int>(position);
            const double within = position - bin;
            if (within > borderShare_ && within < 1.0 - borderShare_)
                counts_[static_cast<std::size_t>(bin)] += times;
            else
                addNearBorder(similarities.exact(i, j), times);
        });
    }

    double lowerBorder(int bin) const noexcept { return lowest_ + bin * width_; }
    double width() const noexcept { return width_; }

    // The first of the fullest bins.
    int mode() const noexcept {
        return static_cast<int>(std::ranges::max_element(counts_.span()) - counts_.span().begin());
    }

private:
    void addNearBorder(double value, int times) noexcept {
        const int near = static_cast<int>((value - lowest_) * binsPerUnit_);
        for (int bin = std::max(near - 1, 0); bin <= std::min(near + 1, bins_ - 1); ++bin)
            if (value >= lowerBorder(bin) && value <= lowerBorder(bin) + width_)
                counts_[static_cast<std::size_t>(bin)] += times;
    }

    double lowest_;
    int bins_;
    double width_;
    double binsPerUnit_;
    double borderShare_;
    Scratch<int> counts_;
};

// The trigger line's neighbour is the darkest row of a column that shows the stripe.
bool isLowestAboveTrigger(const double* sampled, int count, int column) noexcept {
    int lowest = 0;
    const auto at = [=](int r) { return sampled[static_cast<std::ptrdiff_t>(r) * count + column]; };
    for (int r = 1; r < kBandRows; ++r)
        if (at(r) < at(lowest))
            lowest = r;
    return lowest == kTriggerRow - 1;
}

}  // namespace

int findHomogeneousColumns(const double* sampled, int count, int* columns) noexcept {
    Similarities similarities(sampled, count);
    Scratch<unsigned char> isValid(static_cast<std::size_t>(count));
    Scratch<int> partners(static_cast<std::size_t>(count));
    if (!similarities || !isValid || !partners)
        return kNoStripeMemory;
    for (int k = 0; k < count; ++k)
        isValid[static_cast<std::size_t>(k)] = isLowestAboveTrigger(sampled, count, k);
    similarities.fill();
    SimilarityHistogram histogram(similarities.range());
    if (!histogram)
        return kNoStripeMemory;
    histogram.fill(similarities);

    const double above = histogram.lowerBorder(histogram.mode());
    const double upTo = above + histogram.width();
    const auto isTypical = [&](int i, int j, double approximation) {
        if (approximation < above - kLogError || approximation > upTo + kLogError)
            return false;
        if (approximation > above + kLogError && approximation < upTo - kLogError)
            return true;
        const double value = similarities.exact(i, j);
        return value > above && value <= upTo;
    };
    partners.clear();
    similarities.visitPairs([&](int i, int j, double approximation) {
        if (!isTypical(i, j, approximation))
            return;
        partners[static_cast<std::size_t>(i)] += isValid[static_cast<std::size_t>(j)];
        if (i != j)
            partners[static_cast<std::size_t>(j)] += isValid[static_cast<std::size_t>(i)];
    });
    const auto chosen = static_cast<int>(std::ranges::max_element(partners.span()) - partners.span().begin());
    int found = 0;
    for (int j = 0; j < count; ++j)
        if (isValid[static_cast<std::size_t>(j)] != 0 && isTypical(chosen, j, similarities.approximate(chosen, j)))
            columns[found++] = j;
    return found;
}

}  // namespace qx
