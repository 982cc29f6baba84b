#pragma once

#include <bit>
#include <cstdint>

namespace qx {

// A set of ranks as bits, and of the words that are not empty as bits again: its neighbours are near even where the set
// is sparse.
class RankSet {
public:
    // Words for ranks below a limit, and for the words.
    static std::int64_t wordsFor(std::int64_t limit) noexcept { return limit / kBits + 1; }

    // The memory of an empty set is clear.
    RankSet(std::uint64_t* words, std::uint64_t* summary) noexcept : words_(words), summary_(summary) {}

    void insert(std::uint32_t rank) noexcept {
        setBit(words_, rank);
        setBit(summary_, rank / kBits);
    }
    void erase(std::uint32_t rank) noexcept {
        std::uint64_t& word = words_[rank / kBits];
        word &= ~bit(rank);
        if (word == 0)
            summary_[rank / kBits / kBits] &= ~bit(rank / kBits);
    }

    // The nearest rank of the set above the given one, below it, or that one. There has to be one. Without a branch
    // that depends on the direction: as good as random, it would be mispredicted half of the time.
    std::uint32_t moved(std::uint32_t rank, bool up, bool down) const noexcept {
        const std::uint32_t word = rank / kBits;
        const std::uint64_t higher = above(words_[word], rank);
        const std::uint64_t lower = below(words_[word], rank);
        if ((up & (higher == 0)) | (down & (lower == 0))) [[unlikely]]
            return beyondWord(word, up);
        const std::uint32_t next = lowest(word, higher | bit(kBits - 1));
        const std::uint32_t previous = highest(word, lower | 1);
        const std::uint32_t upward = 0u - static_cast<std::uint32_t>(up);
        const std::uint32_t downward = 0u - static_cast<std::uint32_t>(down);
        return rank ^ ((rank ^ next) & upward) ^ ((rank ^ previous) & downward);
    }

    // The rank that so many others of the set are below. There has to be one.
    std::uint32_t at(int others) const noexcept {
        std::uint32_t word = 0;
        for (; others >= std::popcount(words_[word]); ++word)
            others -= std::popcount(words_[word]);
        std::uint64_t rest = words_[word];
        for (; others > 0; --others)
            rest &= rest - 1;
        return lowest(word, rest);
    }

private:
    static constexpr std::uint32_t kBits = 64;

    // The lowest rank of the words above, or the highest one of those below.
    std::uint32_t beyondWord(std::uint32_t word, bool up) const noexcept {
        if (up) {
            const std::uint32_t next = nextBit(summary_, word);
            return lowest(next, words_[next]);
        }
        const std::uint32_t previous = previousBit(summary_, word);
        return highest(previous, words_[previous]);
    }

    static std::uint64_t bit(std::uint32_t index) noexcept { return std::uint64_t{1} << index % kBits; }
    static void setBit(std::uint64_t* words, std::uint32_t index) noexcept { words[index / kBits] |= bit(index); }
    static std::uint64_t above(std::uint64_t word, std::uint32_t index) noexcept {
        return word & ~(bit(index) | (bit(index) - 1));
    }
    static std::uint64_t below(std::uint64_t word, std::uint32_t index) noexcept { return word & (bit(index) - 1); }
    static std::uint32_t lowest(std::uint32_t word, std::uint64_t bits) noexcept {
        return word * kBits + static_cast<std::uint32_t>(std::countr_zero(bits));
    }
    static std::uint32_t highest(std::uint32_t word, std::uint64_t bits) noexcept {
        return word * kBits + kBits - 1 - static_cast<std::uint32_t>(std::countl_zero(bits));
    }
    static std::uint32_t nextBit(const std::uint64_t* words, std::uint32_t index) noexcept {
        std::uint32_t word = index / kBits;
        std::uint64_t bits = above(words[word], index);
        while (bits == 0)
            bits = words[++word];
        return lowest(word, bits);
    }
    static std::uint32_t previousBit(const std::uint64_t* words, std::uint32_t index) noexcept {
        std::uint32_t word = index / kBits;
        std::uint64_t bits = below(words[word], index);
        while (bits == 0)
            bits = words[--word];
        return highest(word, bits);
    }

    std::uint64_t* words_;
    std::uint64_t* summary_;
};

}  // namespace qx
