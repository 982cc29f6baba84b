#include "QxUtils/Correction.h"

#include "QxUtils/Numerics.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/JoinedPath.h"
#include "foundation/Scratch.h"
#include "platform/Clock.h"
#include "platform/Console.h"
#include "platform/SharedAppend.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr int kBlockColumns = 64;
constexpr int kEdgeBlocks = 7;

// The rows that are looked at lie so far from the trigger line.
constexpr int kNearest = 5;
constexpr int kFarthest = 25;

const char* textOrEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

// Text of a limited length.
class RecordText {
public:
    explicit RecordText(std::int64_t capacity) : text_(capacity) {}

    explicit operator bool() const { return static_cast<bool>(text_); }
    std::string_view view() const { return std::string_view(text_.data(), length_); }

    QX_PRINTF(2, 3) void add(const char* format, ...) {
        std::va_list arguments;
        va_start(arguments, format);
        const std::int64_t room = text_.count() - length_;
        const int written = std::vsnprintf(text_.data() + length_, room, format, arguments);
        va_end(arguments);
        if (written > 0)
            length_ += std::min<std::int64_t>(written, room - 1);
    }

private:
    qx::Scratch<char> text_;
    std::int64_t length_ = 0;
};

struct RowRange {
    int first;
    int last;
};

// Rows relative to the trigger line, each end kept within the image.
RowRange rowsAt(int triggerLine, int first, int last, int height) {
    const auto row = [=](std::int64_t offset) {
        return static_cast<int>(std::clamp<std::int64_t>(triggerLine + offset, 0, height - 1));
    };
    return {row(first), row(last)};
}

// Values of the column blocks, followed by their median and their trimmed mean.
class BlockLine {
public:
    explicit BlockLine(int blocks) : blocks_(blocks), values_(blocks + 2) {}

    explicit operator bool() const { return static_cast<bool>(values_); }

    int& operator[](int block) { return values_[block]; }
    void finish(float mean) {
        values_[blocks_] = getMedian(values_.data(), blocks_);
        values_[blocks_ + 1] = qx::truncateToInt(mean);
    }

    // Kept: no guard against 14 blocks and fewer, of which none is left.
    float trimmedMean() const {
        float sum = 0.0f;
        for (int b = kEdgeBlocks; b < blocks_ - kEdgeBlocks; ++b)
            sum += values_[b];
        return sum / (blocks_ - 2 * kEdgeBlocks);
    }

    void print(RecordText& text) const {
        for (const int value : values_.span())
            text.add("%d ", value);
        text.add("\n");
    }

private:
    int blocks_;
    qx::Scratch<int> values_;
};

void addInformation(RecordText& text, int triggerLine) {
    StatusInformation status{};
    getStatusInformation(&status);
    const qx::LocalTime now = qx::localTime();
    const int* const exposureTime = getRadExpTime();
    // Kept: every record has a header of its own.
    text.add("[INFO]\n");
    text.add("Time\t\t\tMachineID\t\t\tIntegrationTime\t\t\tTemperature\t\t\tTrigLine\t\t\tTimeInterval\n");
    // Kept: the parts of the time are not padded.
    text.add("%d%d%d%d%d%d\t\t\t", now.year, now.month, now.day, now.hour, now.minute, now.second);
    text.add("%s\t\t\t%d\t\t\t%.1f\t\t\t%d\t\t\t%.3f\n", textOrEmpty(getMachineID()),
             exposureTime == nullptr ? 0 : *exposureTime, static_cast<double>(status.temperature), triggerLine,
             static_cast<double>(getTimeInterval()));
}

// Longer than any record of so many blocks.
std::int64_t recordCapacity(std::int64_t blocks) {
    constexpr int kTextOfInformation = 1024;
    constexpr int kTextOfNumber = 12;
    return kTextOfInformation + std::strlen(textOrEmpty(getMachineID())) + 3 * kTextOfNumber * (blocks + 3);
}

}  // namespace

void recordAedTrainStepInfo(const WORD* image, int width, int height) {
    const char* const workDirectory = textOrEmpty(getWorkDir());
    if (image == nullptr || !qx::isImageSize(width, height) || *workDirectory == '\0')
        return;
    const int blocks = width / kBlockColumns;
    BlockLine above(blocks);
    BlockLine below(blocks);
    BlockLine difference(blocks);
    RecordText text(recordCapacity(blocks));
    if (!above || !below || !difference || !text)
        return;

    const int triggerLine = getAEDRadScanLine();
    const RowRange rowsAbove = rowsAt(triggerLine, -kFarthest, -kNearest, height);
    const RowRange rowsBelow = rowsAt(triggerLine, kNearest, kFarthest, height);
    for (int b = 0; b < blocks; ++b) {
        const int first = b * kBlockColumns;
        const int last = first + kBlockColumns - 1;
        above[b] = getROIMedian(image, rowsAbove.first, rowsAbove.last, first, last, width);
        below[b] = getROIMedian(image, rowsBelow.first, rowsBelow.last, first, last, width);
        difference[b] = above[b] - below[b];
    }
    const float meanAbove = above.trimmedMean();
    const float meanBelow = below.trimmedMean();
    above.finish(meanAbove);
    below.finish(meanBelow);
    difference.finish(meanAbove - meanBelow);

    addInformation(text, triggerLine);
    text.add("[DATA]\n");
    for (const BlockLine* line : {&above, &below, &difference})
        line->print(text);
    qx::appendShared(qx::JoinedPath(workDirectory, "logs\\PostDarkData.txt").c_str(), text.view());
}
