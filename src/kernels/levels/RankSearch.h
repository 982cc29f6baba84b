#pragma once

// The search for the key that has a rank in ascending order, by counting the keys below pivots. Everything is local to
// the including source, as in VectorLanes.h.

#include "kernels/levels/VectorLanes.h"

#include <cstddef>
#include <cstdint>

namespace {

// How far apart neighbouring ranks lie in the middle of a normal distribution, as a share of the range over the count.
constexpr float kSpacingOfMiddle = 0.36f;

// Follows the line through the last two counts; every so many steps halves the range, for keys that are not smooth.
constexpr int kStepsToHalving = 4;

// Counting alone is quicker than looking for the keys around a pivot as well; so many steps of it come first, unless it
// meets the rank before.
constexpr int kCountingSteps = 8;

// Whether one of the two keys around a pivot has the rank.
inline bool meetsRank(int below, int rank) {
    return below == rank || below == rank + 1;
}

// Key numbers of one search. The key lies between low and high.
class RankSearch {
public:
    RankSearch(std::int64_t lowest, std::int64_t highest, int count, int rank)
        : low_(lowest), high_(highest), rank_(rank), pivot_(lowest + (highest - lowest + 1) / 2),
          spacing_(kSpacingOfMiddle * static_cast<float>(highest - lowest) / static_cast<float>(count)) {}

    // Begins with a pivot that is above `lowest`, and with a spacing of neighbouring ranks.
    RankSearch(std::int64_t lowest, std::int64_t highest, std::int64_t pivot, float spacing, int rank)
        : low_(lowest), high_(highest), rank_(rank), pivot_(pivot), spacing_(spacing) {}

    bool isOpen() const { return low_ < high_; }
    float spacing() const { return spacing_; }
    std::int64_t key() const { return low_; }

    // Keys from the pivot on are above low.
    std::int64_t pivot() const { return pivot_; }

    // So many keys are below the pivot: the key is at most `previous` or at least `next`.
    void narrow(int below, std::int64_t previous, std::int64_t next) {
        if (below <= rank_)
            low_ = next;
        else
            high_ = previous;
        if (step_ > 0 && below != lastBelow_)
            spacing_ = static_cast<float>(pivot_ - lastPivot_) / static_cast<float>(below - lastBelow_);
        lastPivot_ = pivot_;
        lastBelow_ = below;
        ++step_;
        pivot_ = nextPivot(below);
    }

    // The two keys around the pivot are known: one of them may have the rank.
    void narrowToKeys(int below, std::int64_t previous, std::int64_t next) {
        narrow(below, previous, next);
        if (below == rank_)
            high_ = next;
        if (below == rank_ + 1)
            low_ = previous;
    }

private:
    std::int64_t nextPivot(int below) const {
        if (step_ % kStepsToHalving == 0)
            return low_ + (high_ - low_ + 1) / 2;
        const float ranks = static_cast<float>(rank_ - below) + 0.5f;
        const auto target = pivot_ + static_cast<std::int64_t>(ranks * spacing_);
        return target <= low_ ? low_ + 1 : target > high_ ? high_ : target;
    }

    std::int64_t low_;
    std::int64_t high_;
    int rank_;
    int step_ = 0;
    std::int64_t pivot_;
    float spacing_;
    std::int64_t lastPivot_ = 0;
    int lastBelow_ = 0;
};

// Rows of a block that will be wanted next: fetched a few at a time while something else is computed, as the processor
// does not foresee short rows far apart. Addresses beyond the image do no harm.
class RowsAhead {
public:
    template <class Value>
    RowsAhead(const Value* block, std::ptrdiff_t stride, int side)
        : next_(reinterpret_cast<std::uintptr_t>(block) + static_cast<std::uintptr_t>(side) * sizeof(Value)),
          stride_(static_cast<std::uintptr_t>(stride) * sizeof(Value)), rows_(side),
          rowBytes_(static_cast<std::uintptr_t>(side) * sizeof(Value)) {}

    // The block on the right of the one that was named.
    void fetch(int count) {
        for (; count > 0 && rows_ > 0; --count, --rows_, next_ += stride_)
            for (std::uintptr_t x = 0; x < rowBytes_; x += kCacheLineBytes)
                __builtin_prefetch(reinterpret_cast<const void*>(next_ + x));
    }

private:
    std::uintptr_t next_;
    std::uintptr_t stride_;
    int rows_;
    std::uintptr_t rowBytes_;
};

}  // namespace
