#include "correction/stripe/HomogeneousColumns.h"

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
        for (int i = 0; i <= kParts; ++i)
            values_[i] = std::log10(1.0 + i * kPartWidth);
    }

    // Of a number from 1 on.
    double at(double number) const noexcept {
        constexpr double kLogOfTwo = 0.30102999566398119521;
        constexpr int kFractionBits = 52;
        constexpr int kExponentOfOne = 1023;
        const auto bits = std::bit_cast<std::int64_t>(number);
        const std::int64_t exponent = (bits >> kFractionBits) - kExponentOfOne;
        const std::int64_t part = (bits >> kRestBits) & (kParts - 1);
        const double rest = (bits & (kRests - 1)) * kRestWidth;
        return exponent * kLogOfTwo + values_[part] + (values_[part + 1] - values_[part]) * rest;
    }

private:
    // The highest bits of the fraction choose one of kParts parts, the rest of them lies between its ends.
    static constexpr int kParts = 1024;
    static constexpr double kPartWidth = 1.0 / kParts;
    static constexpr int kRestBits = 42;
    static constexpr std::int64_t kRests = std::int64_t{1} << kRestBits;
    static constexpr double kRestWidth = 1.0 / kRests;

    std::array<double, kParts + 1> values_;
};

// The logarithm of the product of every pair of columns, summed over the rows. Those of (i, j) and (j, i) are the same.
// Approximations are kept; what they leave open, the exact value decides.
class Similarities {
public:
    explicit Similarities(const ImageView<const double>& sampled) noexcept
        : sampled_(sampled), count_(sampled.width), values_(std::int64_t{count_} * (count_ + 1) / 2) {}

    explicit operator bool() const noexcept { return static_cast<bool>(values_); }

    void fill() noexcept {
        static const LogTable table;
        for (int i = 0; i < count_; ++i) {
            const std::span<double> values(row(i) + i, count_ - i);
            productsOf(i, i, values);
            for (double& value : values)
                value = table.at(value);
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
        productsOf(i, j, std::span(&product, 1));
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
    // Row i holds count_ - i values, but is indexed by columns: row(i)[j] for j >= i.
    std::int64_t rowStart(std::int64_t i) const noexcept { return i * count_ - i * (i + 1) / 2; }
    const double* row(int i) const noexcept { return values_.data() + rowStart(i); }
    double* row(int i) noexcept { return values_.data() + rowStart(i); }

    // The sums of the products of column i with as many columns from j on, in the order of the rows.
    void productsOf(int i, int j, std::span<double> sums) const noexcept {
        std::array<double, kBandRows> column;
        for (int r = 0; r < kBandRows; ++r)
            column[r] = sampled_.at(r, i);
        sumKernels().columnProducts(column.data(), kBandRows, sampled_.row(0) + j, count_,
                                    static_cast<int>(sums.size()), sums.data());
    }

    ImageView<const double> sampled_;
    int count_;
    Scratch<double> values_;
};

// Where the first of the largest counts stands.
int placeOfMost(std::span<const int> counts) noexcept {
    return static_cast<int>(std::ranges::max_element(counts) - counts.begin());
}

// The similarities of pairs, in bins of about kBinWidth. Every border belongs to both bins beside it.
class SimilarityHistogram {
public:
    explicit SimilarityHistogram(const Similarities::Range& range) noexcept
        : lowest_(range.lowest), bins_(static_cast<int>(std::floor((range.highest - range.lowest) / kBinWidth)) + 1),
          width_((range.highest - range.lowest) / bins_), binsPerUnit_(width_ > 0.0 ? 1.0 / width_ : 0.0),
          borderShare_(2 * kLogError * binsPerUnit_), counts_(bins_) {}

    explicit operator bool() const noexcept { return static_cast<bool>(counts_); }

    void fill(const Similarities& similarities) noexcept {
        counts_.clear();
        similarities.visitPairs([&](int i, int j, double approximation) {
            const int times = i == j ? 1 : 2;
            const double position = (approximation - lowest_) * binsPerUnit_;
            const int bin = static_cast<int>(position);
            const double within = position - bin;
            if (within > borderShare_ && within < 1.0 - borderShare_)
                counts_[bin] += times;
            else
                addNearBorder(similarities.exact(i, j), times);
        });
    }

    // The first of the fullest bins.
    struct Bin {
        double lower;
        double upper;
    };
    Bin fullest() const noexcept {
        const double lower = lowerBorder(placeOfMost(counts_.span()));
        return {lower, lower + width_};
    }

private:
    double lowerBorder(int bin) const noexcept { return lowest_ + bin * width_; }

    void addNearBorder(double value, int times) noexcept {
        const int near = static_cast<int>((value - lowest_) * binsPerUnit_);
        for (int bin = std::max(near - 1, 0); bin <= std::min(near + 1, bins_ - 1); ++bin)
            if (value >= lowerBorder(bin) && value <= lowerBorder(bin) + width_)
                counts_[bin] += times;
    }

    double lowest_;
    int bins_;
    double width_;
    double binsPerUnit_;
    double borderShare_;
    Scratch<int> counts_;
};

// The pairs of columns whose similarity lies above a bin's lower border and up to its upper one.
class TypicalPairs {
public:
    TypicalPairs(const Similarities& similarities, const SimilarityHistogram::Bin& bin) noexcept
        : similarities_(similarities), bin_(bin) {}

    bool holds(int i, int j) const noexcept { return holds(i, j, similarities_.approximate(i, j)); }

    // Of the valid columns, how many each column makes a pair with.
    void countPartners(std::span<const unsigned char> isValid, std::span<int> partners) const noexcept {
        std::ranges::fill(partners, 0);
        similarities_.visitPairs([&](int i, int j, double approximation) {
            if (!holds(i, j, approximation))
                return;
            partners[i] += isValid[j];
            if (i != j)
                partners[j] += isValid[i];
        });
    }

private:
    bool holds(int i, int j, double approximation) const noexcept {
        if (approximation < bin_.lower - kLogError || approximation > bin_.upper + kLogError)
            return false;
        if (approximation > bin_.lower + kLogError && approximation < bin_.upper - kLogError)
            return true;
        const double value = similarities_.exact(i, j);
        return value > bin_.lower && value <= bin_.upper;
    }

    const Similarities& similarities_;
    SimilarityHistogram::Bin bin_;
};

// The reference row is the darkest one of a column that shows the stripe.
bool showsStripe(const ImageView<const double>& sampled, int column) noexcept {
    int darkest = 0;
    for (int r = 1; r < kBandRows; ++r)
        if (sampled.at(r, column) < sampled.at(darkest, column))
            darkest = r;
    return darkest == kReferenceRow;
}

}  // namespace

int findHomogeneousColumns(const ImageView<const double>& sampled, std::span<int> columns) noexcept {
    Similarities similarities(sampled);
    Scratch<unsigned char> isValid(sampled.width);
    Scratch<int> partners(sampled.width);
    if (!similarities || !isValid || !partners)
        return kNoStripeMemory;
    for (int k = 0; k < sampled.width; ++k)
        isValid[k] = showsStripe(sampled, k);
    similarities.fill();
    SimilarityHistogram histogram(similarities.range());
    if (!histogram)
        return kNoStripeMemory;
    histogram.fill(similarities);

    const TypicalPairs typical(similarities, histogram.fullest());
    typical.countPartners(isValid.span(), partners.span());
    const int chosen = placeOfMost(partners.span());
    int found = 0;
    for (int j = 0; j < sampled.width; ++j) {
        if (isValid[j] != 0 && typical.holds(chosen, j)) {
            columns[found] = j;
            ++found;
        }
    }
    return found;
}

}  // namespace qx
