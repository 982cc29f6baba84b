// The AED training record, its time by a clock that stands still.

#include "DetectorFixture.h"

#include "platform/Clock.h"

#include <QxUtils/Correction.h>

#include <algorithm>
#include <functional>
#include <limits>

namespace {

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
    RecordAedTrainStepInfo() {
        qx::setClock([] { return qx::LocalTime{2024, 3, 5, 9, 7, 1, 42}; });
        std::filesystem::create_directory(logFolder());
    }
    ~RecordAedTrainStepInfo() override { qx::setClock(nullptr); }

    std::filesystem::path file() const { return logFolder() / "PostDarkData.txt"; }
    std::string content() const { return readFile(file()); }

    // The record of one call, its file removed. The settings are the detector's.
    std::string record(const TestImage& image, int triggerLine) {
        detector().aedTriggerLine = triggerLine;
        recordAedTrainStepInfo(image.data(), image.width, image.height);
        const std::string text = content();
        std::filesystem::remove(file());
        return text;
    }

    static void expectRecord(const std::string& text, const std::string& settings, const Levels& levels) {
        EXPECT_EQ("[INFO]" + kLineEnd +
                      "Time\t\t\tMachineID\t\t\tIntegrationTime\t\t\tTemperature\t\t\tTrigLine\t\t\tTimeInterval" +
                      kLineEnd + "202435971\t\t\t" + settings + kLineEnd + "[DATA]" + kLineEnd + lineOf(levels.above) +
                      kLineEnd + lineOf(levels.below) + kLineEnd + lineOf(levels.difference) + kLineEnd,
                  text);
    }
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
    const std::string one = record(image, 30);
    qx::test::writeFile(file(), "kept");
    for (int i = 0; i < 3; ++i)
        recordAedTrainStepInfo(image.data(), 1000, 70);
    EXPECT_EQ("kept" + one + one + one, content());
}

// Rows hold ten times their number, those of the second block 1000 more: a level is that of the middle row, the lower
// one of two, and so is the median of both blocks.
TEST_F(RecordAedTrainStepInfo, levels_are_medians_of_up_to_21_rows_inside_the_image) {
    const struct {
        int triggerLine, above, below;
    } cases[] = {{0, 0, 150},    {4, 0, 190},    {5, 0, 200},    {7, 10, 220},   {24, 90, 390},
                 {25, 100, 400}, {26, 110, 410}, {44, 290, 590}, {45, 300, 590}, {46, 310, 600},
                 {63, 480, 680}, {64, 490, 690}, {69, 540, 690}};
    TestImage image = constantImage(128, 70, 0);
    for (int row = 0; row < 70; ++row) {
        image.fill(row, 0, 1, 64, 10 * row);
        image.fill(row, 64, 1, 64, 10 * row + 1000);
    }
    const auto line = [](int first, int second) { return Line{first, second, std::min(first, second), 0}; };
    for (const auto& [triggerLine, above, below] : cases)
        expectRecord(record(image, triggerLine),
                     "VD-0001\t\t\t500\t\t\t35.0\t\t\t" + std::to_string(triggerLine) + "\t\t\t1.000",
                     {line(above, above + 1000), line(below, below + 1000), line(above - below, above - below)});
    // Without a block there is no level.
    expectRecord(record(constantImage(63, 70, 9), 30), "VD-0001\t\t\t500\t\t\t35.0\t\t\t30\t\t\t1.000",
                 {{1057, 0}, {1057, 0}, {1057, 0}});
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

TEST_F(RecordAedTrainStepInfo, lies_beside_the_log_below_the_current_directory_too) {
    const TestImage image = randomImage(1000, 70, 0, 65535, 1);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder().path());
    detector().workDirectory = "";
    recordAedTrainStepInfo(image.data(), 1000, 70);
    EXPECT_EQ(0, WriteLogFile(LogModuleUtils, LogInfo, "line", 7));
    std::filesystem::current_path(before);
    EXPECT_EQ(7u, splitLines(content()).size());
    EXPECT_EQ("Utils  | I | line7", logLines().at(0));
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
