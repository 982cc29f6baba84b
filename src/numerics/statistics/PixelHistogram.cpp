#include "numerics/statistics/PixelHistogram.h"

#include <algorithm>

namespace qx {
namespace {

// The sample is looked at in steps of so many values.
constexpr int kStep = 256;
constexpr int kSteps = kPixelValues / kStep;
constexpr int kWindowSteps = kWindowValues / kStep;

// Counts of more values than these stay out of the first cache.
constexpr int kWideSteps = 64;

// So many of the sample's places may lie mostly in the window, but not quite: the processor does not foresee which
// stretches will.
constexpr int kMostCut = kSamplePlaces / 16;

// Fewer pixels are counted one by one before the room is even clear.
constexpr std::size_t kWorthRoom = 65536;

PixelRows oneRow(std::span<const std::uint16_t> pixels) noexcept {
    constexpr std::ptrdiff_t kPixelsAhead = 1024;
    return {pixels.data(), 0, 1, pixels.size(), kPixelsAhead};
}

// The first step of the window that holds most; of equal ones side by side that in the middle.
int fullestWindow(const std::array<int, kSteps>& held) noexcept {
    int inWindow = 0;
    int most = 0;
    int first = 0;
    int last = 0;
    for (int end = 0; end < kSteps; ++end) {
        inWindow += held[end] - (end >= kWindowSteps ? held[end - kWindowSteps] : 0);
        if (inWindow == most && last == end - 1)
            last = end;
        if (inWindow > most) {
            most = inWindow;
            first = last = end;
        }
    }
    return std::max((first + last) / 2 - kWindowSteps + 1, 0);
}

void clearRoom(const PixelCounts& counts) noexcept {
    if (counts.usesWindow)
        std::fill_n(counts.room, PixelCounts::kWindowRoom, 0u);
    if (counts.isWide)
        std::fill(counts.room + PixelCounts::kWindowRoom, counts.room + PixelCounts::kRoom, 0u);
}

void addOneByOne(std::span<const std::uint16_t> pixels, std::uint32_t* counts) noexcept {
#pragma GCC unroll 8
    for (const std::uint16_t pixel : pixels)
        ++counts[pixel];
}

}  // namespace

PixelSpread spreadOf(const PixelSample& sample) noexcept {
    std::array<int, kSteps> held{};
    for (const SampleRun& run : sample)
        for (const std::uint16_t pixel : run)
            ++held[pixel / kStep];
    const auto empty = std::count(held.begin(), held.end(), 0);
    const int window = std::min(fullestWindow(held) * kStep, kPixelValues - kWindowValues);
    const auto isCut = [=](const SampleRun& run) {
        const auto inside = std::count_if(run.begin(), run.end(),
                                          [=](int pixel) { return pixel >= window && pixel < window + kWindowValues; });
        return inside > std::ssize(run) / 2 && inside < std::ssize(run);
    };
    const auto cut = std::count_if(sample.begin(), sample.end(), isCut);
    return {window, cut <= kMostCut, kSteps - empty > kWideSteps};
}

PixelSpread spreadOf(std::span<const std::uint16_t> pixels) noexcept {
    // The last place ends with the pixels, so that places do not follow each other in a column of an image.
    PixelSample sample;
    const std::size_t step = (pixels.size() - sample[0].size()) / (sample.size() - 1);
    for (std::size_t i = 0; i < sample.size(); ++i)
        std::copy_n(&pixels[i * step], sample[i].size(), sample[i].begin());
    return spreadOf(sample);
}

void countPixels(std::span<const std::uint16_t> pixels, std::uint32_t* counts) noexcept {
    if (pixels.size() >= kWorthRoom) {
        Scratch<std::uint32_t> room(PixelCounts::kRoom);
        if (room) {
            const PixelSpread spread = spreadOf(pixels);
            const PixelCounts into{counts, room.data(), spread.window, spread.usesWindow, spread.isWide};
            clearRoom(into);
            histogramKernels().add(oneRow(pixels), into);
            histogramKernels().merge(into);
            return;
        }
    }
    addOneByOne(pixels, counts);
}

void PixelHistogram::expect(const PixelSpread& spread) noexcept {
    spread_ = spread;
    clearRoom(into());
}

void PixelHistogram::add(std::span<const std::uint16_t> pixels) noexcept {
    if (pixels.size() < kWorthRoom)
        return addOneByOne(pixels, counts());
    expect(spreadOf(pixels));
    addPart(oneRow(pixels));
    merge();
}

int CountBlocks::valueOfRank(std::uint64_t rank) const noexcept {
    int block = 0;
    for (; rank >= sums_[block]; ++block)
        rank -= sums_[block];
    int value = block * kValueBlock;
    for (; rank >= counts_[value]; ++value)
        rank -= counts_[value];
    return value;
}

int CountBlocks::first() const noexcept {
    int block = 0;
    while (sums_[block] == 0)
        ++block;
    return block * kValueBlock;
}

int CountBlocks::last() const noexcept {
    int block = kValueBlocks - 1;
    while (sums_[block] == 0)
        --block;
    return block * kValueBlock + kValueBlock - 1;
}

}  // namespace qx
