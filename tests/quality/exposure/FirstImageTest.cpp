#include "DetectorFixture.h"
#include "reference/quality/PlainFirstImage.h"

#include <QxUtils/Correction.h>
#include <QxUtils/Quality.h>

#include <algorithm>

namespace {

using namespace qx::test;
using Lines = std::vector<std::string>;

constexpr WORD kDarkLevel = 200;

// Pixels lie so much above the dark level as levelAt(row, column).
template <class LevelAt>
TestImage lit(int width, int height, LevelAt levelAt) {
    TestImage image = constantImage(width, height, kDarkLevel);
    for (int i = 0; i < width * height; ++i)
        image.at(i / width, i % width) = static_cast<WORD>(kDarkLevel + levelAt(i / width, i % width));
    return image;
}

// The same for rows and columns of blocks of 32 x 32 pixels.
template <class LevelAt>
TestImage exposed(int width, int height, LevelAt levelAt) {
    return lit(width, height, [&](int row, int col) { return levelAt(row / 32, col / 32); });
}

TestImage flat(int width, int height, int level) {
    return exposed(width, height, [=](int, int) { return level; });
}

class FirstImage : public DetectorFixture {
protected:
    FirstImage() { setLimits(100, 1 << 20); }

    // A block floor, and an AFE width: one AFE for the whole of an image leaves it as it is.
    static void setLimits(int blockFloor, int afeWidth) {
        detector().config.exposedBlockFloor = blockFloor;
        detector().afeWidth = afeWidth;
    }

    // The verdict of a check and what it printed.
    template <class Check>
    int verdict(Check check, const TestImage& image, const TestImage& dark) {
        int code = -1;
        printed = printedBy([&] { code = check(image.data(), dark.data(), image.width, image.height); });
        return code;
    }
    int first(const TestImage& image, const TestImage& dark) {
        detector().afeWidth = std::min(detector().afeWidth, image.width);
        return verdict(checkFirstImg, image, dark);
    }
    int first(const TestImage& image) { return first(image, constantImage(image.width, image.height, kDarkLevel)); }
    int preview(const TestImage& image) {
        return verdict(checkPreImg, image, constantImage(image.width, image.height, kDarkLevel));
    }

    std::string printed;  // by the last check

    bool logHolds(const std::string& text) const {
        const Lines lines = takeLog();
        return std::count(lines.begin(), lines.end(), text) == 1;
    }
};

using CheckFirstImg = FirstImage;
using CheckPreImg = FirstImage;

TEST_F(CheckFirstImg, block_at_the_floor_passes_and_one_below_does_not) {
    setLimits(5000, 512);
    const auto blockAt = [](int level) {
        return exposed(512, 512, [=](int row, int col) { return row == 2 && col == 5 ? level : 5000; });
    };
    EXPECT_EQ(1068, first(blockAt(4999)));
    EXPECT_EQ((Lines{"<checkFirstImg> begins", "value=4999.000000, index=37", "result is 1068",
                     "<checkFirstImg> terminates with a return value 1068"}),
              takeLog());
    // The upper middle of 1024 pixels decides.
    TestImage image = blockAt(5000);
    for (int i = 0; i < 512; ++i)
        image.at(64 + i / 32, 160 + i % 32) = 0;
    EXPECT_EQ(0, first(image));
    image.at(95, 191) = 0;
    EXPECT_EQ(1068, first(image));
}

TEST_F(CheckFirstImg, image_like_or_below_its_dark_image_was_not_exposed) {
    const TestImage dark = randomImage(512, 512, 500, 60000, 1);
    EXPECT_EQ(1068, first(dark, dark));
    EXPECT_TRUE(logHolds("value=0.000000, index=0"));
    EXPECT_EQ(1068, first(constantImage(512, 512, 300), dark));
    setLimits(0, 512);
    EXPECT_EQ(1062, first(dark, dark));
}

// 16 x 16 blocks with a corner of 4 x 5 dark ones, top left or bottom right: in their smoothed image five lie below the
// limit. A brighter block beside the corner lifts one of them, and the maximum little.
TestImage cornerShadow(int besideLevel, bool turned) {
    return exposed(512, 512, [=](int row, int col) {
        const int down = turned ? 15 - row : row;
        const int right = turned ? 15 - col : col;
        if (down < 4 && right < 5)
            return 0;
        return down == 4 && right == 4 ? besideLevel : 10000;
    });
}

TEST_F(CheckFirstImg, shadow_of_four_blocks_passes_and_one_of_five_does_not) {
    setLimits(0, 512);
    const std::string five = "find 5 binning pixels whose value is less than 33 percent of maximum";
    for (const bool turned : {false, true}) {
        EXPECT_EQ(0, first(cornerShadow(30000, turned)));
        EXPECT_EQ("", printed);
        EXPECT_TRUE(logHolds("find 4 binning pixels whose value is less than 33 percent of maximum"));
        EXPECT_EQ(1062, first(cornerShadow(10000, turned)));
        EXPECT_EQ(five + "\n", printed);
        EXPECT_EQ((Lines{"<checkFirstImg> begins", "finish binning", five, "", five, "", "check collimator error.",
                         "result is 1062", "<checkFirstImg> terminates with a return value 1062"}),
                  takeLog());
    }
}

// 24 x 24 blocks in four quarters; without the border each quarter is one corner of 8 x 8.
TestImage quarters(int leftTop, int leftBottom, int rightTop, int rightBottom) {
    return exposed(768, 768, [=](int row, int col) {
        return row < 12 ? (col < 12 ? leftTop : rightTop) : (col < 12 ? leftBottom : rightBottom);
    });
}

TEST_F(CheckFirstImg, corners_may_differ_by_three_tenths_of_their_mean) {
    const struct {
        int levels[4];
        int verdict;
        const char* degrees;
    } cases[] = {{{115, 115, 85, 85}, 0, "horAysmDegree=0.300000, verAysmDegree=0.000000"},
                 {{8499, 11501, 10000, 10000}, 1069, "horAysmDegree=0.162279, verAysmDegree=0.300200"}};
    setLimits(10, 768);
    for (const auto& c : cases) {
        EXPECT_EQ(c.verdict, first(quarters(c.levels[0], c.levels[1], c.levels[2], c.levels[3]))) << c.degrees;
        EXPECT_TRUE(logHolds(c.degrees));
    }
    // A shadow goes before corners that differ.
    const auto shadow = [](int row, int col) { return row < 7 && col < 7 ? 500 : (row < 12 ? 10000 : 4000); };
    EXPECT_EQ(1062, first(exposed(768, 768, shadow)));
    takeLog();
    // What AFEs differ in is balanced before.
    setLimits(10, 128);
    EXPECT_EQ(0, first(quarters(10000, 10000, 6000, 6000)));
    setLimits(10, 768);
    EXPECT_EQ(1069, first(quarters(101, 102, 103, 60)));
    const Lines expected = {"count=64, lt=101",
                            "count=64, lb=102",
                            "count=64, rt=103",
                            "count=64, rb=60",
                            "horAysmDegree=0.518519, verAysmDegree=0.527607",
                            "checkSymmetry failed, asymDegree=0.5276071069",
                            "<checkFirstImgForFactoryCalibration> terminates with a return value 1069",
                            "result is 1069",
                            "<checkFirstImg> terminates with a return value 1069"};
    const Lines lines = takeLog();
    EXPECT_EQ(expected, Lines(lines.end() - 9, lines.end()));
}

// A paraboloid with its peak in column 330, behind AFEs of different gain.
TestImage paraboloid(int width, int height, int peakRow = 270) {
    static constexpr double kGains[] = {1.0, 1.03, 0.98, 1.01, 0.96, 1.0};
    return lit(width, height, [peakRow](int row, int col) {
        const double squares = (col - 330) * (col - 330) + (row - peakRow) * (row - peakRow);
        return 30000 * (1 - 1.2e-6 * squares) * kGains[col / 128];
    });
}

TEST_F(CheckFirstImg, course_of_a_passing_image_is_logged_with_the_centre_of_the_tube) {
    setLimits(100, 128);
    EXPECT_EQ(0, first(paraboloid(768, 640)));
    EXPECT_EQ("", printed);
    EXPECT_EQ((Lines{"<checkFirstImg> begins",
                     "finish binning",
                     "<overwriteBadLineAroundAFEEdge> begins",
                     "<overwriteBadLineAroundAFEEdge> terminates",
                     "tube center calculate by poly fit, x0=330,y0=270",
                     "<checkFirstImgForFactoryCalibration> begins",
                     "<correctRDwithoutRgain> begins",
                     "<overwriteBadLineAroundAFEEdge> begins",
                     "<overwriteBadLineAroundAFEEdge> terminates",
                     "<correctRDwithoutRgain> terminates0",
                     "count=64, lt=28815",
                     "count=64, lb=28368",
                     "count=64, rt=27856",
                     "count=64, rb=27409",
                     "horAysmDegree=0.034387, verAysmDegree=0.016177",
                     "<svdfit> begins",
                     "fitResult=1.000",
                     "<svdfit> terminates with a return value 0",
                     "tube center center calculated by fit image: x0=320,y0=256",
                     "tube center center calculated by fit coes: x0=314,y0=254",
                     "a=29076.804688,b=0.001236,c=0.001243,d=0.000000,x0=314,y0=254",
                     "<checkFirstImgForFactoryCalibration> terminates with a return value 0",
                     "result is 0",
                     "<checkFirstImg> terminates with a return value 0"}),
              takeLog());
    // A surface that lies below 1 everywhere.
    const auto isDim = [](int block) { return block == 5 || block == 10; };
    const TestImage faint = exposed(512, 512, [=](int row, int col) { return isDim(row) && isDim(col) ? 0 : 1; });
    // The fit to a flat image is highest in two corners: columns come before rows.
    const struct {
        TestImage image;
        int afeWidth;
        const char *highest, *peak, *model;
    } cases[] = {{flat(512, 512, 5000), 128, "x0=128,y0=352", "x0=259,y0=256",
                  "a=4999.999023,b=-0.000000,c=-0.000000,d=0.000000"},
                 {paraboloid(577, 801), 100, "x0=128,y0=256", "x0=310,y0=254",
                  "a=29100.195312,b=-0.000344,c=0.001274,d=-0.000045"},
                 {faint, 128, "x0=224,y0=224", "x0=239,y0=239", "a=0.971914,b=0.002756,c=0.002756,d=0.000000"},
                 {paraboloid(640, 512, 60), 128, "x0=320,y0=128", "x0=314,y0=44",
                  "a=27818.064453,b=0.001295,c=0.001297,d=-0.000001"}};
    for (const auto& c : cases) {
        setLimits(0, c.afeWidth);
        EXPECT_EQ(0, first(c.image));
        const Lines lines = takeLog();
        const std::string centre = "tube center center calculated by fit ";
        EXPECT_EQ(
            (Lines{centre + "image: " + c.highest, centre + "coes: " + c.peak, c.model + std::string(",") + c.peak}),
            Lines(lines.end() - 6, lines.end() - 3));
    }
}

// Columns at both edges of every AFE have half of their signal left of the peak and half of it more right of it: with
// them among the others, the medians of blocks would be those of places further right.
TEST_F(CheckFirstImg, bad_columns_at_afe_edges_do_not_move_the_centre_of_the_tube) {
    setLimits(100, 16);
    EXPECT_EQ(0, first(lit(768, 640, [](int row, int col) {
                  const double squares = (col - 384) * (col - 384) + (row - 270) * (row - 270);
                  const double factor = col % 16 > 0 && col % 16 < 15 ? 1 : col < 384 ? 0.5 : 1.5;
                  return 30000 * (1 - 1.2e-6 * squares) * factor;
              })));
    EXPECT_TRUE(logHolds("tube center calculate by poly fit, x0=384,y0=270"));
}

// The peak of the block row and the block column through the middle lies as far from the middle block as that of the
// others does, on its other side.
TEST_F(CheckFirstImg, blocks_through_the_middle_tell_the_centre_of_the_tube) {
    setLimits(100, 768);
    first(lit(768, 640, [](int row, int col) {
        const int right = col - (row / 32 == 10 ? 415 : 384);
        const int down = row - (col / 32 == 12 ? 401 : 270);
        return 30000 * (1 - 1.2e-6 * (right * right + down * down));
    }));
    EXPECT_TRUE(logHolds("tube center calculate by poly fit, x0=415,y0=401"));
}

// Pixels below the dark level on both sides of every boundary: their differences, and what they are raised to, have a
// ratio of 1. The parabola through the levels 4900, 4400 and 2500 of 4, 2 and 2 blocks has its vertex at -2.53.
TEST_F(CheckFirstImg, afes_without_signal_at_their_edges_keep_their_levels) {
    setLimits(1, 64);
    const TestImage image = lit(512, 512, [](int, int col) {
        const bool isEdge = col % 64 < 4 || col % 64 >= 60;
        return (isEdge ? 60 : col < 256 ? 5000 : col < 320 ? 4500 : 2600) - kDarkLevel;
    });
    EXPECT_EQ(0, first(image, constantImage(512, 512, 100)));
    Lines lines = takeLog();
    for (std::string& line : lines)
        line.resize(std::min(line.find(",y0="), line.size()));
    for (const char* const text :
         {"count=64, lt=4175", "count=64, rt=4175", "tube center calculate by poly fit, x0=191"})
        EXPECT_EQ(1, std::count(lines.begin(), lines.end(), text)) << text;
}

TEST_F(CheckFirstImg, refusals) {
    const TestImage image = flat(512, 512, 1000);
    const TestImage dark = constantImage(512, 512, kDarkLevel);
    EXPECT_EQ(1057, checkFirstImg(nullptr, image.data(), 512, 512));
    EXPECT_EQ(1057, checkFirstImg(image.data(), nullptr, 512, 512));
    setLimits(100, 9);
    for (const auto& [w, h] : {std::pair{512, 511}, {511, 512}, {0, 512}, {512, 0}, {-512, -512}, {1 << 16, 1 << 16}})
        EXPECT_EQ(1020, checkFirstImg(image.data(), dark.data(), w, h)) << w << " x " << h;
    for (const auto& [afeWidth, code] : {std::pair{0, 1020}, {-32, 1020}, {8, 1020}, {9, 0}, {512, 0}, {513, 1020}}) {
        setLimits(100, afeWidth);
        EXPECT_EQ(code, verdict(checkFirstImg, image, dark)) << afeWidth;
        EXPECT_EQ(code == 0 ? "" : "calcuate ratio between neighbour AFE fail during calibration!\n", printed);
    }
    setLimits(100, 0);
    detector().faults.getAFEWidthByDetectorDescription = 5;
    EXPECT_EQ(0, checkFirstImg(image.data(), dark.data(), 512, 512));
}

TEST_F(CheckPreImg, last_block_row_and_column_are_not_examined) {
    const struct {
        int width, height, dimRow, dimColumn, first, preview;
    } cases[] = {{512, 512, 0, 0, 1068, 1068}, {512, 512, 14, 14, 1068, 1068}, {512, 512, 15, 3, 1068, 0},
                 {512, 512, 3, 15, 1068, 0},   {513, 513, 15, 15, 1068, 1068}, {512, 513, 15, 15, 1068, 0},
                 {513, 512, 15, 15, 1068, 0},  {543, 543, 16, 16, 0, 0},       {544, 544, 16, 16, 1068, 0}};
    for (const auto& c : cases) {
        const TestImage image = exposed(
            c.width, c.height, [&](int row, int col) { return row == c.dimRow && col == c.dimColumn ? 99 : 1000; });
        EXPECT_EQ(c.first, first(image)) << "case " << &c - cases;
        EXPECT_EQ(c.preview, preview(image)) << "case " << &c - cases;
    }
}

TEST_F(CheckPreImg, floor_comes_before_uniformity_and_the_course_is_logged) {
    const TestImage uneven = exposed(160, 160, [](int row, int) { return row < 2 ? 100 : 5000; });
    for (const int code : {1062, 1068, 0}) {
        setLimits(code == 1068 ? 101 : 100, 0);
        EXPECT_EQ(code, preview(code == 0 ? flat(160, 160, 5000) : uneven));
        EXPECT_EQ((Lines{"<checkPreImg> begins", "result is " + std::to_string(code),
                         "<checkPreImg> terminates with a return value " + std::to_string(code)}),
                  takeLog());
    }
    // The differences from the dark image count.
    const TestImage dark = randomImage(160, 160, 0, 3000, 1);
    TestImage bright = dark;
    for (WORD& pixel : bright.pixels)
        pixel += 5000;
    detector().config.uniformityCvLimit = 1e-6f;
    EXPECT_EQ(0, verdict(checkPreImg, bright, dark));
}

// Near the floor, and near the variation that is allowed.
TEST_F(CheckPreImg, agrees_with_the_plain_method) {
    for (const auto& [width, height] : {std::pair{96, 100}, {129, 128}, {163, 97}}) {
        for (const double sigma : {0.0, 40.0, 400.0}) {
            const TestImage image = flatImage(width, height, 1000 + sigma, sigma, 7);
            const TestImage dark = randomImage(width, height, 0, 9, 8);
            for (const int floor : {900, 960, 1000, 1020, 1100}) {
                for (const float limit : {0.0f, 0.0005f, 0.002f, 0.01f}) {
                    setLimits(floor, 0);
                    detector().config.uniformityCvLimit = limit;
                    EXPECT_EQ(qx::plain::previewVerdict(image.data(), dark.data(), width, height, floor, limit),
                              verdict(checkPreImg, image, dark))
                        << width << " x " << height << ", sigma " << sigma << ", " << floor << ", " << limit;
                }
            }
        }
    }
}

TEST_F(CheckPreImg, refusals) {
    const TestImage image = flat(128, 128, 1000);
    EXPECT_EQ(1057, checkPreImg(nullptr, image.data(), 128, 128));
    EXPECT_EQ(1057, checkPreImg(image.data(), nullptr, 128, 128));
    setLimits(1, 0);
    const struct {
        int width, height, verdict;
    } sizes[] = {{75, 100, 1068}, {33, 33, 1068},  {32, 128, 1020},    {128, 32, 1020},         {1, 512, 1020},
                 {0, 100, 1020},  {100, -1, 1020}, {-128, -128, 1020}, {1 << 16, 1 << 16, 1020}};
    for (const auto& [w, h, code] : sizes)
        EXPECT_EQ(code, checkPreImg(image.data(), image.data(), w, h)) << w << " x " << h;
    setLimits(0, 0);
    EXPECT_EQ(1020, checkPreImg(image.data(), image.data(), 75, 100));
}

TEST(ChecksWithoutAVerdict, pass_whatever_they_are_given) {
    TestImage image = flat(64, 64, 1000);
    const TestImage before = image;
    for (WORD* pixels : {static_cast<WORD*>(nullptr), image.pixels.data()}) {
        for (const int size : {64, 0, -1}) {
            const std::vector<int> statuses = {
                checkCollimator(pixels, size, size), checkSync(pixels, size, size), checkTube(pixels, size, size),
                jingtaiEnhance(pixels, "dir", size, size, 1), precisionEnhance(pixels, nullptr, size, size)};
            EXPECT_EQ(std::vector<int>(5, 0), statuses);
        }
    }
    EXPECT_EQ(before.pixels, image.pixels);
}

}  // namespace
