#include "numerics/filters/RankedMedians.h"

#include "numerics/filters/RankSet.h"

#include <bit>
#include <utility>

namespace qx {
namespace {

// Keys have three digits, the lowest first; the highest has ten bits.
constexpr int kDigits = 3;
constexpr int kHighestDigit = kDigits - 1;
constexpr int kDigitBits = 11;
constexpr std::uint32_t kDigitValues = 1 << kDigitBits;

constexpr std::uint32_t kSign = 0x80000000;

// An unsigned integer in the value's place.
std::uint32_t keyOf(float value) noexcept {
    const auto bits = std::bit_cast<std::uint32_t>(value);
    return bits ^ ((bits & kSign) != 0 ? ~std::uint32_t{0} : kSign);
}

// A sample's key and its place.
std::uint64_t entryOf(float value, std::int64_t place) noexcept {
    return std::uint64_t{keyOf(value)} << 32 | static_cast<std::uint32_t>(place);
}

float valueOf(std::uint64_t entry) noexcept {
    const auto key = static_cast<std::uint32_t>(entry >> 32);
    return std::bit_cast<float>(key ^ ((key & kSign) != 0 ? kSign : ~std::uint32_t{0}));
}

std::uint32_t digitOf(std::uint64_t entry, int digit) noexcept {
    return static_cast<std::uint32_t>(entry >> (32 + digit * kDigitBits)) % kDigitValues;
}

// Counts become the places where the first of each value belongs.
void sumUp(std::uint32_t* counts) noexcept {
    std::uint32_t sum = 0;
    for (std::uint32_t value = 0; value < kDigitValues; ++value)
        sum += std::exchange(counts[value], sum);
}

}  // namespace

RankedMedians::RankedMedians(int half, std::int64_t samples) noexcept
    : half_(half), counts_(kDigits, kDigitValues), entries_(samples), sorted_(samples), ranks_(samples),
      ordered_(samples), words_(RankSet::wordsFor(samples)), summary_(RankSet::wordsFor(words_.count())) {}

void RankedMedians::countDigits(const float* samples, std::int64_t count) noexcept {
    counts_.clear();
    std::uint32_t* const counts = counts_.data();
    std::uint64_t* const entries = entries_.data();
    for (std::int64_t i = 0; i < count; ++i) {
        const std::uint64_t entry = entryOf(samples[i], i);
        entries[i] = entry;
        for (int digit = 0; digit < kDigits; ++digit)
            ++counts[digit * kDigitValues + digitOf(entry, digit)];
    }
}

// Keeps the order of entries with the same digit.
void RankedMedians::sortByDigit(int digit, std::int64_t count) noexcept {
    std::uint32_t* const places = counts_.data() + digit * kDigitValues;
    if (places[digitOf(entries_[0], digit)] == count)
        return;
    sumUp(places);
    const std::uint64_t* const entries = entries_.data();
    std::uint64_t* const sorted = sorted_.data();
    for (std::int64_t i = 0; i < count; ++i)
        sorted[places[digitOf(entries[i], digit)]++] = entries[i];
    std::swap(entries_, sorted_);
}

// The last step of the order: what comes to rest in a place has that rank.
void RankedMedians::rankByHighestDigit(std::int64_t count) noexcept {
    std::uint32_t* const places = counts_.data() + kHighestDigit * kDigitValues;
    sumUp(places);
    const std::uint64_t* const entries = entries_.data();
    std::uint32_t* const ranks = ranks_.data();
    float* const ordered = ordered_.data();
    for (std::int64_t i = 0; i < count; ++i) {
        const std::uint32_t rank = places[digitOf(entries[i], kHighestDigit)]++;
        ranks[static_cast<std::uint32_t>(entries[i])] = rank;
        ordered[rank] = valueOf(entries[i]);
    }
}

void RankedMedians::rank(const float* samples, std::int64_t count) noexcept {
    countDigits(samples, count);
    for (int digit = 0; digit < kHighestDigit; ++digit)
        sortByDigit(digit, count);
    rankByHighestDigit(count);
}

void RankedMedians::take(const float* samples, int count, float* medians) noexcept {
    const int context = 2 * half_;
    rank(samples, std::int64_t{count} + context);
    const std::uint32_t* const leaving = ranks_.data();
    const std::uint32_t* const coming = leaving + context;
    const float* const ordered = ordered_.data();
    words_.clear();
    summary_.clear();
    RankSet window(words_.data(), summary_.data());
    for (int i = 0; i <= context; ++i)
        window.insert(leaving[i]);
    std::uint32_t median = window.at(half_);
    medians[0] = ordered[median];
    for (int i = 1; i < count; ++i) {
        const std::uint32_t left = leaving[i - 1];
        const std::uint32_t came = coming[i];
        window.erase(left);
        window.insert(came);
        const bool up = (left <= median) & (came > median);
        const bool down = (left >= median) & (came < median);
        median = window.moved(median, up, down);
        medians[i] = ordered[median];
    }
}

}  // namespace qx
