#include "quality/exposure/DarkRegions.h"

#include "QxUtils/Foundation.h"
#include "QxUtils/Numerics.h"
#include "QxUtils/StatusCode.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "platform/Console.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace qx {
namespace {

// A fall-off is tolerated from this distance on, in blocks.
constexpr float kNearby = 36.0f;

// Labels of regions, of which some turn out to be the same.
class Labels {
public:
    // So many regions at most can begin before they meet.
    explicit Labels(int pixels) noexcept : parents_(std::int64_t{pixels} + kFirst) {}

    explicit operator bool() const noexcept { return static_cast<bool>(parents_); }

    static constexpr int kNone = 0;
    static constexpr int kFirst = 2;

    int begin() noexcept {
        parents_[next_] = next_;
        return next_++;
    }

    int rootOf(int label) const noexcept {
        while (parents_[label] != label)
            label = parents_[label];
        return label;
    }

    // Makes two labels one, under the lower one.
    int merge(int a, int b) noexcept {
        const int first = rootOf(a);
        const int second = rootOf(b);
        const int low = std::min(first, second);
        parents_[std::max(first, second)] = low;
        return low;
    }

private:
    Scratch<int> parents_;
    int next_ = kFirst;
};

// The label that a marked value shares with its west, north-west, north and north-east neighbours.
int labelAt(const ImageView<int>& labels, int row, int column, Labels& known) noexcept {
    const auto neighbour = [&](int rowStep, int columnStep) {
        const int y = row + rowStep;
        const int x = column + columnStep;
        return y < 0 || x < 0 || x >= labels.width ? Labels::kNone : labels.at(y, x);
    };
    int label = Labels::kNone;
    for (const int other : {neighbour(0, -1), neighbour(-1, -1), neighbour(-1, 0), neighbour(-1, 1)})
        if (other != Labels::kNone)
            label = label == Labels::kNone ? other : known.merge(label, other);
    return label == Labels::kNone ? known.begin() : label;
}

void labelRegions(const ImageView<const std::uint8_t>& marked, const ImageView<int>& labels, Labels& known) noexcept {
    for (int y = 0; y < marked.height; ++y)
        for (int x = 0; x < marked.width; ++x)
            labels.at(y, x) = marked.at(y, x) != 0 ? labelAt(labels, y, x, known) : Labels::kNone;
    // Every label becomes its region's.
    for (int y = 0; y < marked.height; ++y)
        for (int& label : labels.rowSpan(y))
            label = label == Labels::kNone ? label : known.rootOf(label);
}

// Marks the values below the share of the maximum that their distance from it leaves; returns how many.
int markDark(const ImageView<const float>& blocks, float fraction, const ImageView<std::uint8_t>& marked) noexcept {
    const int brightest = getMaxIndex(blocks.data, blocks.pixels());
    const float threshold = fraction * blocks.data[brightest];
    const std::int64_t brightestX = brightest % blocks.width;
    const std::int64_t brightestY = brightest / blocks.width;
    int count = 0;
    for (int y = 0; y < blocks.height; ++y) {
        for (int x = 0; x < blocks.width; ++x) {
            const std::int64_t dx = x - brightestX;
            const std::int64_t dy = y - brightestY;
            const float square = dx * dx + dy * dy;
            const float distance = std::max(std::sqrt(square) / kNearby, 1.0f);
            const bool isDark = threshold / distance >= blocks.at(y, x);
            marked.at(y, x) = isDark;
            count += isDark;
        }
    }
    return count;
}

void logDarkBlocks(int count, bool onConsoleToo) {
    std::array<char, 128> message;
    // Kept: the text names another share than the one in use.
    std::snprintf(message.data(), message.size(),
                  "find %d binning pixels whose value is less than 33 percent of maximum\n", count);
    if (onConsoleToo)
        printConsole("%s", message.data());
    WriteLogFile(LogModuleUtils, LogInfo, message.data(), kLogNoValue);
}

}  // namespace

int largestRegion(ImageView<const std::uint8_t> marked, ImageView<std::uint8_t> inside) {
    ScratchImage<int> labels(marked.width, marked.height);
    Scratch<int> sizes(std::int64_t{marked.pixels()} + Labels::kFirst);
    Labels known(marked.pixels());
    if (!labels || !sizes || !known)
        return -1;
    labelRegions(marked, labels.view(), known);
    sizes.clear();
    int largest = 0;
    int label = Labels::kFirst;
    for (int y = 0; y < marked.height; ++y) {
        for (const int other : labels.view().rowSpan(y)) {
            if (other == Labels::kNone || ++sizes[other] <= largest)
                continue;
            largest = sizes[other];
            label = other;
        }
    }
    for (int y = 0; y < inside.height; ++y)
        std::ranges::transform(labels.view().rowSpan(y), inside.row(y), [label](int other) { return other == label; });
    return largest;
}

int measureDarkRegion(ImageView<const float> blocks, float fraction, DarkRegion& region,
                      ImageView<std::uint8_t> inside) {
    region = {};
    if (blocks.width < 1 || blocks.height < 1)
        return StatusOk;
    ScratchImage<std::uint8_t> marked(blocks.width, blocks.height);
    if (!marked)
        return StatusAllocationFailed;
    region.darkBlocks = markDark(blocks, fraction, marked.view());
    if (region.darkBlocks == 0 && inside.data == nullptr)
        return StatusOk;
    region.largest = largestRegion(marked.view(), inside);
    return region.largest < 0 ? StatusAllocationFailed : StatusOk;
}

int findDarkRegion(ImageView<const float> blocks, float fraction, int allowedSize) {
    DarkRegion region;
    const int status = measureDarkRegion(blocks, fraction, region);
    if (region.darkBlocks > 0)
        logDarkBlocks(region.darkBlocks, false);
    const int verdict = verdictOn(sizeOf(region, allowedSize), status, StatusUniformityUnqualified);
    // Kept: the same line again, on standard output whatever the debug flag, instead of one about the region.
    if (verdict == StatusUniformityUnqualified)
        logDarkBlocks(region.darkBlocks, true);
    return verdict;
}

}  // namespace qx
