#include "DetectorFixture.h"
#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Correction.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <limits>

namespace {

namespace plain = qx::plain;
using qx::test::constantImage;
using qx::test::randomImage;
using qx::test::readFile;
using qx::test::splitLines;
using qx::test::TestImage;

#ifdef _WIN32
const std::string kLineEnd = "\r\n";
#else
const std::string kLineEnd = "\n";
#endif

constexpr int kLowest = std::numeric_limits<int>::min();
constexpr int kHighest = std::numeric_limits<int>::max();

// The local time as the record has it, without padding.
std::string timeText(std::time_t time) {
    const std::tm t = *std::localtime(&time);
    std::string text;
    for (const int part : {t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec})
        text += std::to_string(part);
    return text;
}

std::string lineOf(const std::vector<int>& values) {
    std::string line;
    for (const int value : values)
        line += std::to_string(value) + " ";
    return line;
}

using Line = std::vector<int>;
struct Levels {
    Line above, below, difference;
};

class RecordAedTrainStepInfo : public qx::test::DetectorFixture {
protected:
    RecordAedTrainStepInfo() { std::filesystem::create_directory(logFolder()); }

    std::filesystem::path file() const { return logFolder() / "PostDarkData.txt"; }
    std::string content() const { return readFile(file()); }

    // The record of one call, its file removed. The settings are the detector's.
    std::string record(const TestImage& image, int triggerLine) {
        detector().aedTriggerLine = triggerLine;
        const std::time_t before = std::time(nullptr);
        recordAedTrainStepInfo(image.data(), image.width, image.height);
        times_.clear();
        // The second around it, as clocks of one system may be a tick apart.
        for (std::time_t time = before - 1; time <= std::time(nullptr) + 1; ++time)
            times_.push_back(timeText(time));
        const std::string text = content();
        std::filesystem::remove(file());
        return text;
    }

    // Whether a record begins as it should and ends with these levels.
    void expectRecord(const std::string& text, const std::string& settings, const Levels& levels) const {
        const std::string head =
            "[INFO]" + kLineEnd +
            "Time\t\t\tMachineID\t\t\tIntegrationTime\t\t\tTemperature\t\t\tTrigLine\t\t\tTimeInterval" + kLineEnd;
        const std::string tail = "\t\t\t" + settings + kLineEnd + "[DATA]" + kLineEnd + lineOf(levels.above) +
                                 kLineEnd + lineOf(levels.below) + kLineEnd + lineOf(levels.difference) + kLineEnd;
        EXPECT_TRUE(std::any_of(times_.begin(), times_.end(),
                                [&](const std::string& time) { return text == head + time + tail; }))
            << text << "\nexpected, after one of " << testing::PrintToString(times_) << "\n"
            << head << tail;
    }

private:
    std::vector<std::string> times_;
};

// Blocks of 64 columns: the rows 5 to 25 hold `above`, the rows 35 to 55 `below`, others what would spoil both.
TestImage blockImage(const Line& above, const Line& below, int partialColumns) {
    TestImage image = constantImage(64 * static_cast<int>(above.size()) + partialColumns, 61, 65535);
    for (int row = 0; row < 61; ++row) {
        const Line* levels = row >= 5 && row <= 25 ? &above : row >= 35 && row <= 55 ? &below : nullptr;
        for (std::size_t col = 0; levels != nullptr && col < levels->size() * 64; ++col)
            image.at(row, static_cast<int>(col)) = static_cast<WORD>((*levels)[col / 64]);
    }
    return image;
}

TEST_F(RecordAedTrainStepInfo, holds_the_detectors_settings_and_the_levels_of_the_blocks) {
    detector().machineId = "Q 100%s-\\7";
    detector().integrationTimeMs = 1250;
    detector().temperatureC = 36.26f;
    detector().timeIntervalS = 2.0631f;
    // Means leave seven blocks out at either side and are truncated, that of the differences on its own.
    Line above = {9, 8, 7, 6, 5, 4, 3, 101, 101, 106, 1, 1, 1, 1, 1, 1, 70};
    Line below = {1, 1, 1, 1, 1, 1, 1, 204, 204, 205, 5, 5, 5, 5, 5, 5, 60};
    const TestImage image = blockImage(above, below, 63);
    Line difference;
    std::transform(above.begin(), above.end(), below.begin(), std::back_inserter(difference), std::minus<>());
    above.insert(above.end(), {5, 102});
    below.insert(below.end(), {5, 204});
    difference.insert(difference.end(), {-4, -101});
    const Levels levels{above, below, difference};
    const std::string settings = "Q 100%s-\\7\t\t\t1250\t\t\t36.3\t\t\t30\t\t\t2.063";
    expectRecord(record(image, 30), settings, levels);
    EXPECT_TRUE(logLines().empty());
}

TEST_F(RecordAedTrainStepInfo, every_call_appends_a_record_with_its_header) {
    const TestImage image = randomImage(1000, 70, 0, 65535, 1);
    const std::vector<std::string> one = splitLines(record(image, 30));
    ASSERT_EQ(7u, one.size());
    qx::test::writeFile(file(), "kept");
    for (int i = 0; i < 3; ++i)
        recordAedTrainStepInfo(image.data(), 1000, 70);
    const std::string text = content();
    EXPECT_EQ("kept", text.substr(0, 4));
    const std::vector<std::string> lines = splitLines(text.substr(4));
    ASSERT_EQ(21u, lines.size());
    for (std::size_t i = 0; i < 21; ++i)
        EXPECT_EQ(i % 7 == 2 ? lines[i] : one[i % 7], lines[i]);
}

// Appends the median of the blocks to their levels and returns the mean.
float addMedian(Line& levels) {
    const int blocks = static_cast<int>(levels.size());
    float sum = 0.0f;
    for (int b = 7; b < blocks - 7; ++b)
        sum += static_cast<float>(levels[static_cast<std::size_t>(b)]);
    levels.push_back(plain::descendingMedian(levels.data(), blocks));
    return sum / static_cast<float>(blocks - 14);
}

Levels plainLevels(const TestImage& image, int triggerLine) {
    const int last = image.height - 1;
    Levels levels;
    for (int col = 0; col + 64 <= image.width; col += 64) {
        const auto median = [&](int firstRow, int lastRow) {
            return plain::getROIMedian(image.data(), firstRow, lastRow, col, col + 63, image.width);
        };
        levels.above.push_back(median(std::max(0, triggerLine - 25), std::max(0, triggerLine - 5)));
        levels.below.push_back(median(std::min(triggerLine + 5, last), std::min(triggerLine + 25, last)));
        levels.difference.push_back(levels.above.back() - levels.below.back());
    }
    const float above = addMedian(levels.above);
    const float below = addMedian(levels.below);
    addMedian(levels.difference);
    levels.above.push_back(plain::truncateToInt(above));
    levels.below.push_back(plain::truncateToInt(below));
    levels.difference.push_back(plain::truncateToInt(above - below));
    return levels;
}

// Numbers of blocks around none, even ones and the limit of the trimmed mean; rows clamped at either end.
TEST_F(RecordAedTrainStepInfo, agrees_with_plain_medians_and_means) {
    const struct {
        int width, height;
        std::vector<int> triggerLines;
    } cases[] = {{1, 1, {0}},
                 {63, 70, {30}},
                 {65, 31, {0, 4, 5, 6, 25, 26, 30}},
                 {64, 70, {25, 26, 44, 45, 63, 64, 65, 69}},
                 {13 * 64, 2, {0, 1}},
                 {14 * 64 + 63, 9, {2, 8}},
                 {15 * 64, 12, {0, 6}},
                 {16 * 64, 12, {5, 11}},
                 {17 * 64 + 1, 35, {28}}};
    for (const auto& c : cases) {
        const TestImage image =
            randomImage(c.width, c.height, 100, 65535, static_cast<std::uint64_t>(c.width + c.height));
        for (const int triggerLine : c.triggerLines)
            expectRecord(record(image, triggerLine),
                         "VD-0001\t\t\t500\t\t\t35.0\t\t\t" + std::to_string(triggerLine) + "\t\t\t1.000",
                         plainLevels(image, triggerLine));
    }
}

// With 15 blocks one is averaged, with 14 none: that is no number. Sums are single precision: 260 times 65533 less.
TEST_F(RecordAedTrainStepInfo, trimmed_means_of_few_and_of_many_blocks) {
    const struct {
        int blocks, level, mean, differenceMean;
    } cases[] = {{13, 500, 0, 0}, {14, 500, kLowest, kLowest}, {15, 500, 500, 490}, {274, 65533, 65532, 65522}};
    for (const auto& c : cases) {
        TestImage image = constantImage(64 * c.blocks, 8, static_cast<WORD>(c.level));
        std::fill(image.pixels.end() - image.width, image.pixels.end(), WORD{10});
        const auto line = [&](int level, int mean) {
            Line values(static_cast<std::size_t>(c.blocks) + 1, level);
            values.push_back(mean);
            return values;
        };
        expectRecord(
            record(image, 2), "VD-0001\t\t\t500\t\t\t35.0\t\t\t2\t\t\t1.000",
            {line(c.level, c.mean), line(10, c.blocks > 14 ? 10 : c.mean), line(c.level - 10, c.differenceMean)});
    }
}

TEST_F(RecordAedTrainStepInfo, file_that_cannot_be_opened_is_silent) {
    const TestImage image = randomImage(1000, 70, 0, 65535, 1);
    std::filesystem::create_directory(file());
    recordAedTrainStepInfo(image.data(), 1000, 70);
    EXPECT_TRUE(std::filesystem::is_directory(file()));
    EXPECT_EQ(1u, logFiles().size());
    std::filesystem::remove_all(logFolder());
    recordAedTrainStepInfo(image.data(), 1000, 70);
    EXPECT_FALSE(std::filesystem::exists(logFolder()));
    detector().workDirectory = std::string(300, 'x') + '\\';
    recordAedTrainStepInfo(image.data(), 1000, 70);
}

TEST_F(RecordAedTrainStepInfo, impossible_arguments_are_harmless) {
    const TestImage image = randomImage(1000, 70, 0, 65535, 1);
    detector().aedTriggerLine = 30;
    recordAedTrainStepInfo(nullptr, 1000, 70);
    const int sizes[][2] = {{0, 70}, {1000, 0}, {-64, 70}, {64, -1}, {kLowest, kLowest}, {kHighest, kHighest}};
    for (const auto& [width, height] : sizes)
        recordAedTrainStepInfo(image.data(), width, height);
    EXPECT_EQ("", content());
    // Whether there is a record of a trigger line outside is open, half a record is not.
    for (const int triggerLine : {kLowest, -1000, -26, -25, -6, -5, -1, 70, 74, 75, 76, 95, 96, 5000, kHighest}) {
        const std::string text = record(image, triggerLine);
        EXPECT_TRUE(text.empty() || splitLines(text).size() == 7) << triggerLine << "\n" << text;
    }
}

}  // namespace
