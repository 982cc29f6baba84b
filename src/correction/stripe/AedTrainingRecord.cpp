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
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr int kBlockColumns = 64;
constexpr int kEdgeBlocks = 7;

const char* textOrEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

// Text of a limited length.
class RecordText {
public:
    explicit RecordText(std::size_t capacity) : text_(capacity) {}

    explicit operator bool() const { return static_cast<bool>(text_); }
    std::string_view view() const { return {text_.data(), length_}; }

    QX_PRINTF(2, 3) void add(const char* format, ...) {
        std::va_list arguments;
        va_start(arguments, format);
        const std::size_t room = text_.span().size() - length_;
        const int written = std::vsnprintf(text_.data() + length_, room, format, arguments);
        va_end(arguments);
        if (written > 0)
            length_ += std::min(static_cast<std::size_t>(written), room - 1);
    }

private:
    qx::Scratch<char> text_;
    std::size_t length_ = 0;
};

struct RowRange {
    int first;
    int last;
};

// Rows relative to the trigger line, each end kept within the image.
RowRange rowsAt(int triggerLine, int first, int last, int height) {
    const auto row = [=](int offset) {
        return static_cast<int>(std::clamp<long long>(static_cast<long long>(triggerLine) + offset, 0, height - 1));
    };
    return {row(first), row(last)};
}

// Values of the column blocks, followed by their median and their trimmed mean.
class BlockLine {
public:
    explicit BlockLine(int blocks) : blocks_(blocks), values_(static_cast<std::size_t>(blocks) + 2) {}

    explicit operator bool() const { return static_cast<bool>(values_); }

    int value(int block) const { return values_[static_cast<std::size_t>(block)]; }
    void set(int block, int value) { values_[static_cast<std::size_t>(block)] = value; }
    void finish(float mean) {
        set(blocks_, getMedian(static_cast<const int*>(values_.data()), blocks_));
        set(blocks_ + 1, qx::truncateToInt(mean));
    }

    // Kept: no guard against 14 blocks and fewer, of which none is left.
    float trimmedMean() const {
        float sum = 0.0f;
        for (int b = kEdgeBlocks; b < blocks_ - kEdgeBlocks; ++b)
            sum += static_cast<float>(value(b));
        return sum / static_cast<float>(blocks_ - 2 * kEdgeBlocks);
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
    text.add("[INFO]\n");
    text.add("Time\t\t\tMachineID\t\t\tIntegrationTime\t\t\tTemperature\t\t\tTrigLine\t\t\tTimeInterval\n");
    // Kept: the parts of the time are not padded.
    text.add("%d%d%d%d%d%d\t\t\t", now.year, now.month, now.day, now.hour, now.minute, now.second);
    text.add("%s\t\t\t%d\t\t\t%.1f\t\t\t%d\t\t\t%.3f\n", textOrEmpty(getMachineID()),
             exposureTime == nullptr ? 0 : *exposureTime, static_cast<double>(status.temperature), triggerLine,
             static_cast<double>(getTimeInterval()));
}

// Longer than any record of so many blocks.
std::size_t recordCapacity(int blocks) {
    constexpr std::size_t kTextOfInformation = 1024;
    constexpr std::size_t kTextOfNumber = 12;
    return kTextOfInformation + std::strlen(textOrEmpty(getMachineID())) +
           3 * kTextOfNumber * (static_cast<std::size_t>(blocks) + 3);
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
    const RowRange rowsAbove = rowsAt(triggerLine, -25, -5, height);
    const RowRange rowsBelow = rowsAt(triggerLine, 5, 25, height);
    for (int b = 0; b < blocks; ++b) {
        const int first = b * kBlockColumns;
        const int last = first + kBlockColumns - 1;
        above.set(b, getROIMedian(image, rowsAbove.first, rowsAbove.last, first, last, width));
        below.set(b, getROIMedian(image, rowsBelow.first, rowsBelow.last, first, last, width));
        difference.set(b, above.value(b) - below.value(b));
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
