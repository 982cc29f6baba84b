#include "QxUtils/Correction.h"

#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/JoinedPath.h"
#include "foundation/LogFolder.h"
#include "numerics/statistics/PixelMedian.h"
#include "platform/Clock.h"
#include "platform/SharedAppend.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <new>
#include <span>
#include <string>
#include <vector>

namespace {

constexpr int kBlockColumns = 64;
constexpr int kEdgeBlocks = 7;

// The rows that are looked at lie so far from the trigger line.
constexpr int kNearest = 5;
constexpr int kFarthest = 25;
constexpr int kMostRows = kFarthest - kNearest + 1;

// Rows relative to the trigger line, each end kept within the image.
struct RowRange {
    int first;
    int last;
};

RowRange rowsAt(int triggerLine, int first, int last, int height) {
    const auto row = [=](std::int64_t offset) {
        return static_cast<int>(std::clamp<std::int64_t>(triggerLine + offset, 0, height - 1));
    };
    return {row(first), row(last)};
}

// The medians of the column blocks in some rows, which need no memory of their own.
std::vector<int> blockLevels(const qx::ImageView<const WORD>& image, const RowRange& rows) {
    std::vector<int> levels(image.width / kBlockColumns);
    std::array<WORD, kMostRows * kBlockColumns> pixels;
    for (int b = 0; b < std::ssize(levels); ++b) {
        WORD* end = pixels.data();
        for (int y = rows.first; y <= rows.last; ++y)
            end = std::copy_n(image.row(y) + b * kBlockColumns, kBlockColumns, end);
        levels[b] = qx::lowerMiddle(std::span<const WORD>(pixels.data(), end));
    }
    return levels;
}

// Kept: without a block a status stands for the median.
int medianOf(std::vector<int> values) {
    return values.empty() ? int{StatusNullArgument} : qx::lowerMiddleInPlace(values);
}

// Kept: no guard against 14 blocks and fewer, of which none is left.
float trimmedMean(const std::vector<int>& levels) {
    const int blocks = static_cast<int>(levels.size());
    float sum = 0.0f;
    for (int b = kEdgeBlocks; b < blocks - kEdgeBlocks; ++b)
        sum += levels[b];
    return sum / (blocks - 2 * kEdgeBlocks);
}

void addLine(std::string& record, const std::vector<int>& levels, float mean) {
    for (const int level : levels)
        record.append(std::to_string(level)).append(" ");
    for (const int summary : {medianOf(levels), qx::truncateToInt(mean)})
        record.append(std::to_string(summary)).append(" ");
    record.append("\n");
}

// A pointer from the kit is used up before the kit is asked again.
void addInformation(std::string& record, int triggerLine) {
    StatusInformation status{};
    getStatusInformation(&status);
    const qx::LocalTime now = qx::localTime();
    const int* const exposureTime = getRadExpTime();
    const int exposureTimeMs = exposureTime == nullptr ? 0 : *exposureTime;
    const auto timeInterval = static_cast<double>(getTimeInterval());
    // Kept: every record has a header of its own.
    record.append(
        "[INFO]\nTime\t\t\tMachineID\t\t\tIntegrationTime\t\t\tTemperature\t\t\tTrigLine\t\t\tTimeInterval\n");
    std::array<char, 256> text;
    // Kept: the parts of the time are not padded.
    std::snprintf(text.data(), text.size(), "%d%d%d%d%d%d\t\t\t", now.year, now.month, now.day, now.hour, now.minute,
                  now.second);
    record.append(text.data());
    const char* const machine = getMachineID();
    record.append(machine == nullptr ? "" : machine);
    std::snprintf(text.data(), text.size(), "\t\t\t%d\t\t\t%.1f\t\t\t%d\t\t\t%.3f\n", exposureTimeMs,
                  static_cast<double>(status.temperature), triggerLine, timeInterval);
    record.append(text.data());
}

// Throws when memory is short.
std::string recordOf(const qx::ImageView<const WORD>& image) {
    const int triggerLine = getAEDRadScanLine();
    const std::vector<int> above = blockLevels(image, rowsAt(triggerLine, -kFarthest, -kNearest, image.height));
    const std::vector<int> below = blockLevels(image, rowsAt(triggerLine, kNearest, kFarthest, image.height));
    std::vector<int> difference(above.size());
    std::ranges::transform(above, below, difference.begin(), std::minus<>());
    const float meanAbove = trimmedMean(above);
    const float meanBelow = trimmedMean(below);

    std::string record;
    addInformation(record, triggerLine);
    record.append("[DATA]\n");
    addLine(record, above, meanAbove);
    addLine(record, below, meanBelow);
    addLine(record, difference, meanAbove - meanBelow);
    return record;
}

}  // namespace

void recordAedTrainStepInfo(const WORD* image, int width, int height) {
    const qx::LogFolder folder;
    const qx::ImageView<const WORD> view{image, width, height};
    if (!view.exists() || !folder.hasPath())
        return;
    try {
        qx::appendShared(qx::JoinedPath(folder.path(), "PostDarkData.txt").c_str(), recordOf(view));
    } catch (const std::bad_alloc&) {
        // Half a record would be worse than none.
        return;
    }
}
