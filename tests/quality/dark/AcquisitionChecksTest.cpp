#include "BinaryFields.h"
#include "DetectorFixture.h"

#include <QxUtils/Quality.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <tuple>

namespace {

using namespace qx::test;
using Lines = std::vector<std::string>;
using Words = std::vector<WORD>;

std::string entries(int first, int count) {
    std::string list;
    for (int i = 0; i < count; ++i)
        list += std::to_string(first + i) + ";";
    return list;
}

TEST(CheckDarkTimeRepeat, finds_a_time_among_the_entries) {
    const struct {
        std::string list;
        std::vector<int> listed, missing;
    } cases[] = {{"500;1000;", {500, 1000}, {0, 300, 5001000}},
                 {"", {}, {0}},
                 {";500;;;1000;;", {500, 1000}, {0}},
                 {" 500 ; \t1000", {500, 1000}, {0}},
                 {"7; ", {7, 0}, {}},
                 {"-5;+7", {-5, 7}, {5, 0}},
                 {"5 0;1e3;12ms;b", {5, 1, 12, 0}, {50, 1000}},
                 {"+-5;++6;- 7", {0}, {5, -5, 6, -7}},
                 // All digits of an entry; no entry is a number that 32 bits do not hold.
                 {"2147483647;-2147483648", {INT_MAX, INT_MIN}, {214748364, 0}},
                 {"0000000500;" + std::string(2000, '0') + "9", {500, 9}, {0, 50}},
                 {"4294967796;2147483648;-2147483649", {}, {500, INT_MAX, INT_MIN, 0, 429496779}},
                 // 256 entries; empty ones do not count.
                 {entries(1000, 300), {1000, 1255}, {1256, 1299}},
                 {std::string(300, ';') + entries(1000, 257), {1255}, {1256}},
                 // 2559 characters.
                 {std::string(2558, ';') + "5", {5}, {}},
                 {std::string(2559, ';') + "5", {}, {5, 0}},
                 {std::string(2556, ';') + "1234", {123}, {1234, 4}},
                 {std::string(10000, '3'), {}, {333333333, 3, 0}}};
    for (const auto& c : cases) {
        for (const int time : c.listed)
            EXPECT_EQ(0, CheckDarkTimeRepeat(c.list.c_str(), time)) << c.list.substr(0, 30) << ": " << time;
        for (const int time : c.missing)
            EXPECT_EQ(1, CheckDarkTimeRepeat(c.list.c_str(), time)) << c.list.substr(0, 30) << ": " << time;
    }
    EXPECT_EQ(1057, CheckDarkTimeRepeat(nullptr, 1057));
    // Nothing behind them is read.
    const std::vector<char> endless(2559, '1');
    EXPECT_EQ(1, CheckDarkTimeRepeat(endless.data(), 1));
}

// count values, every other one of either.
Words alternating(std::size_t count, WORD first, WORD second) {
    Words words(count, first);
    for (std::size_t i = 1; i < count; i += 2)
        words[i] = second;
    return words;
}

class CheckGainImgGroup : public DetectorFixture {
protected:
    static void setLimit(float limit) { detector().config.gainGroupCvLimit = limit; }

    // Writes the files and returns what the check returns; a file that is "-" is missing.
    int check(const Lines& contents) {
        Lines paths;
        for (const std::string& content : contents) {
            paths.push_back(folder() / ("gain" + std::to_string(paths.size()) + ".raw"));
            std::filesystem::remove(paths.back());
            if (content != "-")
                writeFile(paths.back(), content);
        }
        std::vector<const char*> pointers;
        for (const std::string& path : paths)
            pointers.push_back(path.c_str());
        return checkPaths(pointers);
    }
    int checkPaths(const std::vector<const char*>& paths) {
        int code = -1;
        printed = printedBy([&] { code = checkGainImgGroup(paths.data(), static_cast<int>(paths.size())); });
        return code;
    }
    // The limit from which the files pass.
    void expectTurn(const Lines& files, float ratio, const std::string& shown) {
        for (const bool passes : {true, false}) {
            setLimit(passes ? ratio : std::nextafter(ratio, -1.0f));
            EXPECT_EQ(passes ? 0 : 1065, check(files)) << shown;
            EXPECT_EQ("checkGainImgGroup = " + shown + "\n", printed);
        }
    }

    std::string printed;
};

TEST_F(CheckGainImgGroup, by_hand) {
    const std::string even = words(alternating(40, 100, 300));  // mean 200, deviation 100
    const std::string level = words(Words(40, 1000));
    const std::string half = words(alternating(2, 1, 2));  // deviation sqrt(0.5) about 1
    Words nearly(1000, 60000);
    --nearly[7];
    const struct {
        Lines files;
        float ratio;
        const char* printed;
    } cases[] = {{{even}, 0.5f, "0.500"},
                 {{even, level}, 0.0f, "0.000"},
                 {{even, level, level, even}, 100.0f / 600.0f, "0.167"},
                 {{half}, static_cast<float>(std::sqrt(0.5)), "0.707"},
                 // A mean of 59999.999 is 60000 in single precision, which is truncated.
                 {{words(nearly)}, static_cast<float>(std::sqrt(0.001)) / 60000.0f, "0.000"},
                 // The header counts as pixels, an odd byte at the end does not.
                 {{std::string(65536, '\0') + words(Words(32768, 1000))}, 1.0f, "1.000"},
                 {{even + "x", even + "yz"}, 0.5f, "0.500"},
                 {{even, even + level}, 0.5f, "0.500"}};
    for (const auto& c : cases)
        expectTurn(c.files, c.ratio, c.printed);
}

TEST_F(CheckGainImgGroup, files_that_cannot_be_read) {
    const std::string level = words(Words(40, 1000));
    const struct {
        Lines files;
        int status;
    } cases[] = {{{"-"}, 1039}, {{level, "-"}, 1039}, {{level, level.substr(1)}, 1040}, {{level, ""}, 1040}};
    for (const auto& c : cases) {
        for (const float limit : {0.2f, 0.0f, -0.0f, -1e-9f}) {
            setLimit(limit);
            EXPECT_EQ(limit < 0 ? 1065 : c.status, check(c.files)) << "limit " << limit;
            EXPECT_EQ("", printed);
        }
    }
    setLimit(0.2f);
    for (const char* const first : {"", "x"})
        EXPECT_EQ(1057, check({first, level}));
    // No level: the ratio is not a number and exceeds nothing.
    EXPECT_EQ(0, check({std::string(80, '\0')}));
    const std::string path = folder() / "gain0.raw";
    EXPECT_EQ(1039, checkPaths({folder().path().c_str()}));
    EXPECT_EQ(1057, checkPaths({nullptr}));
    EXPECT_EQ(1057, checkPaths({path.c_str(), nullptr}));
    EXPECT_EQ(1057, checkGainImgGroup(nullptr, 1));
    const char* paths[] = {path.c_str()};
    for (const int count : {0, -1})
        EXPECT_EQ(1057, checkGainImgGroup(paths, count));
}

using FloatImage = ImageOf<float>;

FloatImage levelImage(int width, int height, float value) {
    return {width, height, std::vector<float>(static_cast<std::size_t>(width * height), value)};
}

class CheckFalseTriggAedImage : public DetectorFixture {
protected:
    static int check(const FloatImage& image, int medianFloor) {
        detector().config.falseTriggerMedianFloor = medianFloor;
        return checkFalseTriggAEDImage(image.data(), image.width, image.height);
    }
};

// 1280 x 256: regions of 256 x 64 from (448, 80), (448, 112), (576, 80) and (576, 112) in a middle of columns 448 to
// 832 and rows 80 to 176; the outer area has columns 256 to 1024 and rows 32 to 224.
constexpr int kWidth = 1280;
constexpr int kHeight = 256;

TEST_F(CheckFalseTriggAedImage, areas_have_the_shape_of_the_image) {
    const struct {
        int width, height;
        const char *roiHeight, *outer, *found;
    } cases[] = {{1280, 256, "64", "[32,224,256,1024]", "[448, 80]"},
                 {1279, 255, "64", "[63,191,383,895]", "[511, 95]"},
                 {1024, 384, "128", "[64,320,256,768]", "[384, 128]"},
                 {1025, 450, "128", "[97,353,256,768]", "[384, 161]"},
                 {1536, 193, "64", "[0,192,256,1280]", "[512, 32]"}};  // clipped to the image
    for (const auto& c : cases) {
        const std::string start = std::string("roiWidth:256, roiHeight:") + c.roiHeight;
        EXPECT_EQ(1094, check(levelImage(c.width, c.height, 100.5f), 1000));
        EXPECT_EQ((Lines{start, "The median of middle area is 100.000000", std::string("The outer ROI is ") + c.outer,
                         "The median of outer area is 100.000000"}),
                  takeLog());
        EXPECT_EQ(0, check(levelImage(c.width, c.height, 500), 1000));
        EXPECT_EQ((Lines{start, std::string("The area is found. The top-left coordinate is: ") + c.found}), takeLog());
    }
}

TEST_F(CheckFalseTriggAedImage, middle_area_has_to_reach_the_floor) {
    FloatImage image = levelImage(kWidth, kHeight, 100.5f);
    image.fill(80, 448, 97, 385, 300.5f);
    EXPECT_EQ(0, check(image, 300));
    EXPECT_EQ("The median of middle area is 300.000000", takeLog().back());
    EXPECT_EQ(1094, check(image, 301));
    EXPECT_EQ("The median of outer area is 100.000000", takeLog().back());
    EXPECT_EQ(1094, check(levelImage(kWidth, kHeight, std::nanf("")), 500));
    EXPECT_EQ("The median of middle area is -2147483648.000000", takeLog()[1]);
    // No region fits into the middle of 768 columns.
    EXPECT_EQ(1094, check(levelImage(768, 384, 500), 1000));
}

TEST_F(CheckFalseTriggAedImage, outer_area_has_to_exceed_half_of_the_floor) {
    FloatImage image = levelImage(kWidth, kHeight, 150.9f);
    for (const int medianFloor : {150, 299, 300, 301, 302}) {
        EXPECT_EQ(medianFloor < 300 ? 0 : 1094, check(image, medianFloor)) << medianFloor;
        const std::string area = medianFloor == 150 ? "middle" : "outer";
        EXPECT_EQ("The median of " + area + " area is 150.000000", takeLog().back());
    }
    // Halves are truncated towards zero: -1 does not exceed -3 / 2.
    image = levelImage(kWidth, kHeight, -1.0f);
    image.fill(80, 448, 97, 385, -5.0f);
    EXPECT_EQ(1094, check(image, -3));
    EXPECT_EQ(0, check(image, -4));
}

TEST_F(CheckFalseTriggAedImage, one_region_above_400_is_enough) {
    // The last one lies just above half of the second and of the third region: rows come before columns.
    const struct {
        int row, col, foundCol, foundRow;
    } cases[] = {
        {80, 448, 448, 80}, {113, 448, 448, 112}, {80, 577, 576, 80}, {113, 577, 576, 112}, {112, 576, 448, 112}};
    for (const auto& c : cases) {
        FloatImage image = levelImage(kWidth, kHeight, 100.0f);
        image.fill(c.row, c.col, 65, 257, 401.0f);
        EXPECT_EQ(0, check(image, 2000));
        EXPECT_EQ("The area is found. The top-left coordinate is: [" + std::to_string(c.foundCol) + ", " +
                      std::to_string(c.foundRow) + "]",
                  takeLog().back());
        image.fill(c.row, c.col, 65, 257, 400.9f);
        EXPECT_EQ(1094, check(image, 2000));
    }
    // Half of a region's rows or columns but one is not enough, and bright surroundings do not count.
    FloatImage upper = levelImage(kWidth, kHeight, 100.0f);
    upper.fill(80, 0, 32, kWidth, 900.0f);
    FloatImage left = levelImage(kWidth, kHeight, 100.0f);
    left.fill(0, 448, kHeight, 128, 900.0f);
    FloatImage around = levelImage(kWidth, kHeight, 900.0f);
    around.fill(80, 448, 97, 385, 100.0f);
    for (const FloatImage& image : {upper, left, around})
        EXPECT_EQ(1094, check(image, 2000));
}

TEST_F(CheckFalseTriggAedImage, refusals) {
    const FloatImage image = levelImage(1024, 128, 900.0f);
    const struct {
        int width, height, verdict;
    } sizes[] = {{768, 96, 0},   {768, 95, 1020}, {767, 170, 1020},    {1024, 127, 1020}, {1, 1, 1020},
                 {0, 128, 1020}, {1024, 0, 1020}, {-1024, -128, 1020}, {128, 1024, 1020}, {65536, 65536, 1020}};
    detector().config.falseTriggerMedianFloor = 900;
    for (const auto& [w, h, verdict] : sizes)
        EXPECT_EQ(verdict, checkFalseTriggAEDImage(image.pixels.data(), w, h)) << w << " x " << h;
    EXPECT_EQ(1057, checkFalseTriggAEDImage(nullptr, 1024, 128));
    EXPECT_EQ(1020, checkFalseTriggAEDImage(image.pixels.data(), 1, 9000000));
    EXPECT_EQ("roiWidth:256, roiHeight:2304000000", takeLog().back());
}

class CheckOffsetImageQuality : public DetectorFixture {
protected:
    // Verdicts for a detector of 44 read-out channels (tiles of 64 x 64) and one of more (32 x 32).
    std::pair<int, int> verdicts(const FloatImage& image) { return {check(image, 3), check(image, 1)}; }
    int check(const FloatImage& image, int type) {
        detector().type = type;
        return checkOffsetImageQuality(image.pixels.data(), image.width, image.height);
    }
};

using Verdicts = std::pair<int, int>;

TEST_F(CheckOffsetImageQuality, patch_has_to_fill_a_cell_of_a_tested_tile) {
    // 300 x 400: three rows of four tiles from row 128 on. In their order: the first, a middle and the last cell of a
    // row of large tiles; across four cells; cells of small tiles start in the second row, too; the last cells of the
    // small and of the large tiles; right of and below the small ones; above, below and right of all; 230 of 256.
    const struct {
        int row, col, rows, cols, large, small;
    } cases[] = {{128, 0, 16, 16, 1, 1}, {144, 16, 16, 16, 1, 1},  {128, 112, 16, 16, 1, 1}, {136, 8, 16, 16, 0, 0},
                 {130, 0, 15, 16, 0, 1}, {208, 112, 16, 16, 1, 1}, {304, 240, 16, 16, 1, 0}, {128, 128, 16, 16, 1, 0},
                 {224, 0, 16, 16, 1, 0}, {112, 0, 16, 300, 0, 0},  {320, 0, 80, 300, 0, 0},  {128, 256, 192, 44, 0, 0},
                 {128, 0, 14, 16, 0, 0}};
    FloatImage image = levelImage(300, 400, 200.0f);
    for (const auto& c : cases) {
        image.fill(0, 0, 400, 300, 200.0f);
        image.fill(142, 0, 1, c.rows == 14 ? 6 : 0, 100.0f);
        image.fill(c.row, c.col, c.rows, c.cols, 100.0f);
        EXPECT_EQ((Verdicts{c.large, c.small}), verdicts(image)) << c.row << ", " << c.col;
    }
    image.at(142, 6) = 100.0f;  // 231
    EXPECT_EQ((Verdicts{1, 1}), verdicts(image));
}

TEST_F(CheckOffsetImageQuality, patch_shows_in_noise) {
    FloatImage image = levelImage(64, 256, 300.0f);
    SplitMix64 random(17);
    for (float& pixel : image.pixels)
        pixel += static_cast<float>(10 * random.gaussian());
    EXPECT_EQ((Verdicts{0, 0}), verdicts(image));
    for (int i = 0; i < 16 * 16; ++i)
        image.at(128 + i / 16, 16 + i % 16) -= 60;
    EXPECT_EQ((Verdicts{1, 1}), verdicts(image));
}

TEST_F(CheckOffsetImageQuality, only_values_from_1_to_999_have_a_level) {
    const float kNan = std::nanf("");
    // Without a level what is 0 is marked; a flat tile has none. Values are truncated and keep their low 16 bits; what
    // no integer holds is 0.
    const struct {
        float background, patch;
        int verdict;
    } cases[] = {{1500, 999, 1},    {1500, 1000, 0}, {1500, 1, 1},    {200, 300, 1},   {1500, 0, 1},      {200, 200, 0},
                 {1, 1, 0},         {999, 999, 0},   {0, 0, 1},       {0.9f, 0.9f, 1}, {-0.5f, -0.5f, 1}, {-1, -1, 0},
                 {65536, 65536, 1}, {200, 65636, 1}, {kNan, kNan, 1}, {3e9f, -3e9f, 1}};
    for (const auto& c : cases) {
        FloatImage image = levelImage(64, 256, c.background);
        image.fill(128, 0, 16, 16, c.patch);
        EXPECT_EQ((Verdicts{c.verdict, c.verdict}), verdicts(image)) << c.patch << " on " << c.background;
    }
}

TEST_F(CheckOffsetImageQuality, first_of_equally_good_levels_splits_the_tile) {
    // A quarter of the tile has the lowest value, every third pixel of rows 0 to 47, and a quarter the highest one,
    // rows 48 to 63. The upper level would fill cells.
    FloatImage image = levelImage(64, 256, 200.0f);
    image.fill(128 + 48, 0, 16, 64, 300.0f);
    for (int i = 0; i < 48 * 64; i += 3)
        image.at(128 + i / 64, i % 64) = 100.0f;
    EXPECT_EQ(0, check(image, 3));
    image.at(128 + 48, 0) = 200.0f;  // now a quarter less one is above: the upper level is the worse one
    EXPECT_EQ(0, check(image, 3));
    image.at(128, 0) = 200.0f;  // and now both are alike again
    EXPECT_EQ(0, check(image, 3));
    image.at(128, 3) = 200.0f;
    EXPECT_EQ(1, check(image, 3));
}

TEST_F(CheckOffsetImageQuality, short_and_narrow_images_pass) {
    FloatImage image = levelImage(256, 256, 200.0f);
    image.fill(128, 0, 16, 16, 100.0f);
    for (const auto& [w, h, code] : {std::tuple{256, 256, 1}, {256, 255, 0}, {256, 1, 0}, {63, 256, 0}}) {
        image.width = w;
        image.height = h;
        EXPECT_EQ((Verdicts{code, code}), verdicts(image)) << w << " x " << h;
    }
    EXPECT_EQ(1057, checkOffsetImageQuality(nullptr, 256, 256));
    for (const auto& [w, h] : {std::pair{0, 256}, {256, 0}, {-256, -256}, {65536, 65536}})
        EXPECT_EQ(1020, checkOffsetImageQuality(image.pixels.data(), w, h)) << w << " x " << h;
}

TEST_F(CheckOffsetImageQuality, split_detectors_are_tested_up_to_four_times) {
    const auto timesTested = [&] {
        const Lines lines = logLines();
        return std::count(lines.begin(), lines.end(), "Corr   | I | <getReadOutChannels> begins");
    };
    // Only tiles of 64 x 64 see a patch from row 160 on.
    const struct {
        int type, mode, times, large;
    } cases[] = {{1, 16, 1, 0},  {3, 16, 1, 1}, {6, 16, 1, 1}, {7, 1, 1, 0},   {7, 16, 4, 0}, {12, 15, 1, 1},
                 {12, 16, 4, 1}, {5, 1, 4, 0},  {13, 1, 4, 0}, {25, 16, 4, 0}, {9, 1, 1, 1}};
    for (const auto& c : cases) {
        detector().mode = c.mode;
        for (const float level : {200.0f, 100.0f}) {
            FloatImage image = levelImage(256, 256, 200.0f);
            image.fill(160, 0, 16, 16, level);
            const auto before = timesTested();
            const int found = level < 200.0f ? c.large : 0;
            EXPECT_EQ(found, check(image, c.type)) << c.type << ", mode " << c.mode;
            EXPECT_EQ(found == 1 ? 1 : c.times, timesTested() - before) << c.type << ", mode " << c.mode;
        }
    }
}

}  // namespace
