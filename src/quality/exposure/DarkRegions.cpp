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
#include <cstddef>
#include <cstdio>

namespace qx {
namespace {

// A fall-off is tolerated from this distance on, in blocks.
constexpr float kNearby = 36.0f;

// Labels of regions, of which some turn out to be the same.
class Labels {
public:
    // So many regions at most can begin before they meet.
    explicit Labels(std::size_t pixels) noexcept : parents_(pixels + kFirst) {}

    explicit operator bool() const noexcept { return static_cast<bool>(parents_); }

    static constexpr int kNone = 0;

    int begin() noexcept {
        parents_[static_cast<std::size_t>(next_)] = next_;
        return next_++;
    }

    int rootOf(int label) const noexcept {
        while (parent(label) != label)
            label = parent(label);
        return label;
    }

    // Makes two labels one, under the lower one.
    int merge(int a, int b) noexcept {
        const int first = rootOf(a);
        const int second = rootOf(b);
        const int low = std::min(first, second);
        parents_.data()[std::max(first, second)] = low;
        return low;
    }

private:
    static constexpr int kFirst = 2;

    int parent(int label) const noexcept { return parents_.data()[label]; }

    Scratch<int> parents_;
    int next_ = kFirst;
};

// The label that a marked value shares with its west, north-west, north and north-east neighbours.
int labelAt(const int* labels, int width, int row, int column, Labels& known) noexcept {
    const auto neighbour = [&](int rowStep, int columnStep) {
        const int x = column + columnStep;
        if (row + rowStep < 0 || x < 0 || x >= width)
            return Labels::kNone;
        return labels[static_cast<std::ptrdiff_t>(row + rowStep) * width + x];
    };
    int label = Labels::kNone;
    for (const int other : {neighbour(0, -1), neighbour(-1, -1), neighbour(-1, 0), neighbour(-1, 1)})
        if (other != Labels::kNone)
            label = label == Labels::kNone ? other : known.merge(label, other);
    return label == Labels::kNone ? known.begin() : label;
}

// Marks the values below the share of the maximum that their distance from it leaves; returns how many.
int markDark(const float* blocks, int width, int height, float fraction, std::uint8_t* marked) noexcept {
    const int brightest = getMaxIndex(blocks, width * height);
    const float threshold = fraction * blocks[brightest];
    const int mx = brightest % width;
    const int my = brightest / width;
    int count = 0;
    for (int r = 0; r < height; ++r) {
        for (int c = 0; c < width; ++c) {
            const std::int64_t dx = c - mx;
            const std::int64_t dy = r - my;
            const float distance = std::max(std::sqrt(static_cast<float>(dx * dx + dy * dy)) / kNearby, 1.0f);
            *marked = threshold / distance >= *blocks++;
            count += *marked++;
        }
    }
    return count;
}

}  // namespace

int largestRegion(const std::uint8_t* marked, int width, int height) {
    const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    Scratch<int> labels(count);
    Scratch<int> sizes(count + 2);
    Labels known(count);
    if (!labels || !sizes || !known)
        return -1;
    std::size_t i = 0;
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c, ++i)
            labels[i] = marked[i] != 0 ? labelAt(labels.data(), width, r, c, known) : Labels::kNone;
    sizes.clear();
    int largest = 0;
    for (i = 0; i < count; ++i)
        if (labels[i] != Labels::kNone)
            largest = std::max(largest, ++sizes[static_cast<std::size_t>(known.rootOf(labels[i]))]);
    return largest;
}

int findDarkRegion(const float* blocks, int width, int height, float fraction, int allowedSize) {
    if (width < 1 || height < 1)
        return StatusOk;
    Scratch<std::uint8_t> marked(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    if (!marked)
        return StatusAllocationFailed;
    const int count = markDark(blocks, width, height, fraction, marked.data());
    if (count == 0)
        return StatusOk;
    std::array<char, 128> message;
    // Kept: the text names another share than the one in use.
    std::snprintf(message.data(), message.size(),
                  "find %d binning pixels whose value is less than 33 percent of maximum\n", count);
    WriteLogFile(LogModuleUtils, LogInfo, message.data(), kLogNoValue);
    const int largest = largestRegion(marked.data(), width, height);
    if (largest < 0)
        return StatusAllocationFailed;
    if (largest <= allowedSize)
        return StatusOk;
    // Kept: the same line again, on standard output whatever the debug flag, instead of one about the region.
    printConsole("%s", message.data());
    WriteLogFile(LogModuleUtils, LogInfo, message.data(), kLogNoValue);
    return StatusUniformityUnqualified;
}

}  // namespace qx
