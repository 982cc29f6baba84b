#include "correction/StripeSuppression.h"

#include "foundation/Scratch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace qx {
namespace {

constexpr double kBinWidth = 0.004;

// The logarithm of the product of every pair of columns, summed over the rows. Only one of (i, j) and (j, i) is kept:
// they are the same.
class Similarities {
public:
    explicit Similarities(int count) noexcept
        : count_(count), values_(static_cast<std::size_t>(count) * (static_cast<std::size_t>(count) + 1) / 2) {}

    explicit operator bool() const noexcept { return static_cast<bool>(values_); }

    void fill(const double* sampled) noexcept {
        for (int i = 0; i < count_; ++i) {
            std::array<double, kBandRows> column;
            for (int r = 0; r < kBandRows; ++r)
                column[static_cast<std::size_t>(r)] = sampled[static_cast<std::ptrdiff_t>(r) * count_ + i];
            int j = i;
            for (; j + kAtOnce <= count_; j += kAtOnce)
                fillFrom<kAtOnce>(sampled + j, column, row(i) + j);
            for (; j < count_; ++j)
                fillFrom<1>(sampled + j, column, row(i) + j);
        }
    }

    // Calls visit(i, j, value) for i <= j.
    template <class Visit>
    void visitPairs(Visit visit) const {
        for (int i = 0; i < count_; ++i)
            for (int j = i; j < count_; ++j)
                visit(i, j, row(i)[j]);
    }

    double at(int i, int j) const noexcept { return i <= j ? row(i)[j] : row(j)[i]; }

private:
    static constexpr int kAtOnce = 8;

    // row(i)[j] for j >= i.
    std::ptrdiff_t rowOffset(int i) const noexcept {
        return static_cast<std::ptrdiff_t>(i) * count_ - static_cast<std::ptrdiff_t>(i) * (i + 1) / 2;
    }
    const double* row(int i) const noexcept { return values_.data() + rowOffset(i); }
    double* row(int i) noexcept { return values_.data() + rowOffset(i); }

    // The sums of a column with `columns` neighbouring ones, in the order of the rows.
    template <int columns>
    void fillFrom(const double* others, const std::array<double, kBandRows>& column, double* target) const noexcept {
        std::array<double, columns> sums{};
        for (const double own : column) {
            for (std::size_t k = 0; k < columns; ++k)
                sums[k] += own * others[k];
            others += count_;
        }
        for (std::size_t k = 0; k < columns; ++k)
            target[k] = std::log10(sums[k]);
    }

    int count_;
    Scratch<double> values_;
};

// The similarities of pairs, in bins of about kBinWidth. Every border belongs to both bins beside it.
class SimilarityHistogram {
public:
    SimilarityHistogram(double lowest, double highest) noexcept
        : lowest_(lowest), bins_(static_cast<int>(std::floor((highest - lowest) / kBinWidth)) + 1),
          width_((highest - lowest) / bins_), binsPerUnit_(width_ > 0.0 ? 1.0 / width_ : 0.0),
          counts_(static_cast<std::size_t>(bins_)) {
        if (counts_)
            std::ranges::fill(counts_.span(), 0);
    }

    explicit operator bool() const noexcept { return static_cast<bool>(counts_); }

    void add(double value, int times) noexcept {
        const double position = (value - lowest_) * binsPerUnit_;
        const int near = static_cast<int>(position);
        const double within = position - near;
        // Only close to a border does the rounding of the borders matter.
        if (within > kBorderShare && within < 1.0 - kBorderShare)
            counts_[static_cast<std::size_t>(near)] += times;
        else
            addNearBorder(value, near, times);
    }

    double lowerBorder(int bin) const noexcept { return lowest_ + bin * width_; }
    double width() const noexcept { return width_; }

    // The first of the fullest bins.
    int mode() const noexcept {
        return static_cast<int>(std::ranges::max_element(counts_.span()) - counts_.span().begin());
    }

private:
    static constexpr double kBorderShare = 1e-6;

    void addNearBorder(double value, int near, int times) noexcept {
        for (int bin = std::max(near - 1, 0); bin <= std::min(near + 1, bins_ - 1); ++bin)
            if (value >= lowerBorder(bin) && value <= lowerBorder(bin) + width_)
                counts_[static_cast<std::size_t>(bin)] += times;
    }

    double lowest_;
    int bins_;
    double width_;
    double binsPerUnit_;
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
    Similarities similarities(count);
    Scratch<unsigned char> isValid(static_cast<std::size_t>(count));
    Scratch<int> partners(static_cast<std::size_t>(count));
    if (!similarities || !isValid || !partners)
        return kNoStripeMemory;
    for (int k = 0; k < count; ++k)
        isValid[static_cast<std::size_t>(k)] = isLowestAboveTrigger(sampled, count, k);
    similarities.fill(sampled);

    double lowest = similarities.at(0, 0);
    double highest = lowest;
    similarities.visitPairs([&](int, int, double value) {
        lowest = std::min(lowest, value);
        highest = std::max(highest, value);
    });
    SimilarityHistogram histogram(lowest, highest);
    if (!histogram)
        return kNoStripeMemory;
    similarities.visitPairs([&](int i, int j, double value) { histogram.add(value, i == j ? 1 : 2); });

    const double above = histogram.lowerBorder(histogram.mode());
    const double upTo = above + histogram.width();
    const auto isTypical = [=](double value) { return value > above && value <= upTo; };
    partners.clear();
    similarities.visitPairs([&](int i, int j, double value) {
        if (!isTypical(value))
            return;
        partners[static_cast<std::size_t>(i)] += isValid[static_cast<std::size_t>(j)];
        if (i != j)
            partners[static_cast<std::size_t>(j)] += isValid[static_cast<std::size_t>(i)];
    });
    const auto chosen = static_cast<int>(std::ranges::max_element(partners.span()) - partners.span().begin());
    int found = 0;
    for (int j = 0; j < count; ++j)
        if (isValid[static_cast<std::size_t>(j)] != 0 && isTypical(similarities.at(chosen, j)))
            columns[found++] = j;
    return found;
}

}  // namespace qx
