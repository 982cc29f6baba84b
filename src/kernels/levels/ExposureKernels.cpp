#include "kernels/ExposureKernels.h"
#include "kernels/levels/RankSearch.h"
#include "kernels/levels/VectorLanes.h"

namespace qx {
namespace {

constexpr int kBlockPixels = kBlockSide * kBlockSide;
constexpr int kRowVectors = kBlockSide / kShortLanes;

int smallestShort(Shorts v) {
    const Ints even = (Ints(v) << 16) >> 16;
    const Ints odd = Ints(v) >> 16;
    return smallestLane(even < odd ? even : odd);
}

// Row by row through all the blocks: a cache line that two of them share is read once.
template <int blocks>
void differencesOf(const ExposedBlocks& exposed, std::uint16_t* differences, int* lowest) {
    const std::uint16_t* image = exposed.image;
    const std::uint16_t* dark = exposed.dark;
    Shorts lowestLanes[blocks];
    for (Shorts& lanes : lowestLanes)
        lanes = Shorts{} + 32767;
    for (int y = 0; y < kBlockSide; ++y, image += exposed.stride, dark += exposed.stride) {
        for (int i = 0; i < blocks * kRowVectors; ++i) {
            const int b = i / kRowVectors;
            const int x = i * kShortLanes;
            const Bits difference = unsignedDifference(Bits(loadShorts(image + x)), Bits(loadShorts(dark + x)));
            const Shorts turned = Shorts(difference) ^ kSignBit;
            lowestLanes[b] = turned < lowestLanes[b] ? turned : lowestLanes[b];
            store(differences + b * kBlockPixels + y * kBlockSide + x % kBlockSide, turned);
        }
    }
    for (int b = 0; b < blocks; ++b)
        lowest[b] = smallestShort(lowestLanes[b]) + kTurnedBit;
}

void differences(const ExposedBlocks& exposed, std::uint16_t* differences, int* lowest) noexcept {
    if (exposed.count == kBlocksAtOnce)
        return differencesOf<kBlocksAtOnce>(exposed, differences, lowest);
    for (int b = 0; b < exposed.count; ++b) {
        const std::ptrdiff_t left = b * kBlockSide;
        differencesOf<1>({exposed.image + left, exposed.dark + left, exposed.stride, 1}, differences + b * kBlockPixels,
                         lowest + b);
    }
}

// Fetches a block's share a line at a time: the processor holds up what asks for many at once.
class Fetch {
public:
    explicit Fetch(const PixelsAhead& pixels) : pixels_(pixels), next_(pixels.offset * kPixelBytes) {}

    bool isOpen() const { return lines_ < kLines; }
    void fetchLine() {
        if (!isOpen())
            return;
        fetchFrom(pixels_.image, next_);
        fetchFrom(pixels_.dark, next_);
        next_ += kCacheLineBytes;
        if (++lines_ % kRowLines == 0)
            next_ += pixels_.stride * kPixelBytes - kRowLines * kCacheLineBytes;
    }

private:
    static constexpr std::ptrdiff_t kPixelBytes = sizeof(std::uint16_t);
    static constexpr std::ptrdiff_t kRowLines = kBlocksAtOnce * kBlockSide * kPixelBytes / kCacheLineBytes;
    static constexpr std::ptrdiff_t kLines = kRowsAhead * kRowLines;

    PixelsAhead pixels_;
    std::ptrdiff_t next_;
    int lines_ = 0;
};

int countBelow(const std::uint16_t* block, int limit, Fetch& fetch) {
    // The usual four counts fetch all.
    constexpr int kRowsALine = 4;
    constexpr int kVectorsALine = kRowsALine * kRowVectors;
    const Shorts limits = Shorts{} + static_cast<std::int16_t>(limit - kTurnedBit);
    Shorts even{};
    Shorts odd{};
    for (int y = 0; y < kBlockSide; y += kRowsALine, block += kRowsALine * kBlockSide) {
        fetch.fetchLine();
        for (int i = 0; i < kVectorsALine; i += 2) {
            even = countLess(even, loadShorts(block + i * kShortLanes), limits);
            odd = countLess(odd, loadShorts(block + (i + 1) * kShortLanes), limits);
        }
    }
    return sumOfLanes(Ints(sumOfProductPairs(even + odd, Shorts{} + 1)));
}

std::uint16_t median(const std::uint16_t* block, const PixelsAhead& ahead, MedianGuess& guess) noexcept {
    constexpr int kRank = kBlockPixels / 2;
    Fetch fetch(ahead);
    RankSearch search(0, 65535, guess.median, guess.spacing, kRank);
    while (search.isOpen()) {
        const int limit = static_cast<int>(search.pivot());
        search.narrow(countBelow(block, limit, fetch), limit - 1, limit);
    }
    while (fetch.isOpen())
        fetch.fetchLine();
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
