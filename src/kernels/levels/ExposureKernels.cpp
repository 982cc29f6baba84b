#include "kernels/ExposureKernels.h"
#include "kernels/levels/RankSearch.h"
#include "kernels/levels/VectorLanes.h"

namespace qx {
namespace {

constexpr int kBlockPixels = kBlockSide * kBlockSide;
constexpr int kRowVectors = kBlockSide / kShortLanes;
constexpr int kBlockVectors = kBlockSide * kRowVectors;

// The block that is fetched lies so many blocks on the right: a strip of blocks has more rows than the processor
// follows by itself.
constexpr int kBlocksAhead = 3;

int differences(const std::uint16_t* image, const std::uint16_t* dark, std::ptrdiff_t stride,
                std::uint16_t* block) noexcept {
    constexpr std::ptrdiff_t kAhead = kBlocksAhead * kBlockSide * sizeof(std::uint16_t);
    Shorts lowest = Shorts{} + 32767;
    for (int y = 0; y < kBlockSide; ++y, image += stride, dark += stride) {
        fetchFrom(image, kAhead);
        fetchFrom(dark, kAhead);
        for (int x = 0; x < kBlockSide; x += kShortLanes) {
            const Bits difference = unsignedDifference(Bits(loadShorts(image + x)), Bits(loadShorts(dark + x)));
            const Shorts turned = Shorts(difference) ^ kSignBit;
            lowest = turned < lowest ? turned : lowest;
            store(block + y * kBlockSide + x, turned);
        }
    }
    const Ints even = (Ints(lowest) << 16) >> 16;
    const Ints odd = Ints(lowest) >> 16;
    return smallestLane(even < odd ? even : odd) + kTurnedBit;
}

int countBelow(const std::uint16_t* block, int limit) {
    const Shorts limits = Shorts{} + static_cast<std::int16_t>(limit - kTurnedBit);
    Shorts even{};
    Shorts odd{};
    for (int i = 0; i < kBlockVectors; i += 2) {
        even = countLess(even, loadShorts(block + i * kShortLanes), limits);
        odd = countLess(odd, loadShorts(block + (i + 1) * kShortLanes), limits);
    }
    return sumOfLanes(Ints(sumOfProductPairs(even + odd, Shorts{} + 1)));
}

std::uint16_t median(const std::uint16_t* block, MedianGuess& guess) noexcept {
    constexpr int kRank = kBlockPixels / 2;
    RankSearch search(0, 65535, guess.median, guess.spacing, kRank);
    while (search.isOpen()) {
        const int limit = static_cast<int>(search.pivot());
        search.narrow(countBelow(block, limit), limit - 1, limit);
    }
    guess = {static_cast<int>(search.key()), search.spacing()};
    return static_cast<std::uint16_t>(search.key());
}

void addColumns(const std::uint16_t* block, float* sums, float* others) noexcept {
    constexpr int kVectors = kBlockSide / kLanes < 4 ? kBlockSide / kLanes : 4;
    for (int x = 0; x < kBlockSide; x += kVectors * kLanes) {
        Floats first[kVectors];
        Floats second[kVectors];
        for (int v = 0; v < kVectors; ++v) {
            first[v] = loadFloats(sums + x + v * kLanes);
            second[v] = loadFloats(others + x + v * kLanes);
        }
        for (int y = 0; y < kBlockSide; ++y) {
            for (int v = 0; v < kVectors; ++v) {
                const Floats row = toFloats(loadPixels(block + y * kBlockSide + x + v * kLanes) ^ kTurnedBit);
                first[v] += row;
                second[v] += row;
            }
        }
        for (int v = 0; v < kVectors; ++v) {
            store(sums + x + v * kLanes, first[v]);
            store(others + x + v * kLanes, second[v]);
        }
    }
}

}  // namespace

QX_TABLE_OF_LEVEL(ExposureKernels) = {differences, median, addColumns};

}  // namespace qx
