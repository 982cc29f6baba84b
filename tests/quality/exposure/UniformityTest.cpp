#include "BinaryFields.h"
#include "DetectorFixture.h"
#include "reference/quality/PlainUniformity.h"

#include <QxUtils/Quality.h>

#include <cmath>
#include <limits>

namespace {

using namespace qx::test;
namespace plain = qx::plain;
using Lines = std::vector<std::string>;
using Floats = std::vector<float>;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kTiny = std::numeric_limits<float>::denorm_min();

float above(float value) {
    return std::nextafter(value, kInfinity);
}
float below(float value) {
    return std::nextafter(value, -kInfinity);
}
Floats sortedDown(Floats values) {
    std::sort(values.begin(), values.end(), std::greater<>());
    return values;
}

// The limits of the detector's record, and the checks with one of them set.
class UniformityCheck : public DetectorFixture {
protected:
    static int uniform(const TestImage& image, float limit) {
        detector().config.uniformityCvLimit = limit;
        return getUniform(image.data(), image.width, image.height);
    }
    static int strips(const TestImage& image, int limit) {
        detector().config.stripMeanDiffLimit = limit;
        return analysisStrip(image.data(), image.width, image.height);
    }
    static int darkGray(const TestImage& image, int floor) {
        detector().config.darkLevelFloor = floor;
        return darkImgGrayAnalysis(image.data(), image.width, image.height);
    }
    static int globalUniform(const TestImage& image, float limit) {
        return checkGlobalUniform(image.data(), image.width, image.height, limit);
    }
};

using GetUniform = UniformityCheck;
using AnalysisStrip = UniformityCheck;
using DarkGray = UniformityCheck;
using CheckGlobalUniform = UniformityCheck;

// Squares of an image, in the order of the list. `more` pixels of the first are one count higher.
using Origins = int[5][2];
constexpr Origins kSquareOrigins = {{168, 168}, {66, 66}, {66, 269}, {269, 66}, {269, 269}};
constexpr Origins kWideOrigins = {{168, 318}, {66, 116}, {66, 519}, {270, 116}, {270, 519}};

TestImage fiveSquares(const int (&values)[5], int more = 0, int width = 400, const Origins& origins = kSquareOrigins) {
    TestImage image = constantImage(width, width == 400 ? 400 : 401, 0);
    for (int i = 0; i < 5; ++i)
        image.fill(origins[i][0], origins[i][1], 64, 64, static_cast<WORD>(values[i]));
    for (int i = 0; i < more; ++i)
        ++image.at(168 + i / 64, origins[0][1] + i % 64);
    return image;
}

TEST_F(GetUniform, by_hand) {
    const float fifth = std::sqrt(320.0f) / 100.0f;
    const struct {
        int values[5], more;
        float fails, passes;
    } cases[] = {{{5000, 5000, 5000, 5000, 5000}, 0, 0.0f, kTiny},
                 // Means are truncated, and one just below 65535 is rounded up before; that of the five is 1.
                 {{100, 100, 100, 100, 100}, 4095, 0.0f, kTiny},
                 {{100, 100, 100, 100, 100}, 4096, 0.004f, 0.01f},
                 {{65534, 65535, 65535, 65535, 65535}, 4095, 0.0f, kTiny},
                 {{0, 0, 4, 0, 1}, 0, -1.0f, 9.0f},
                 // The deviation about the truncated mean of 100 is 1.79, about the mean of 100.8 it is 1.6.
                 {{100, 100, 104, 100, 100}, 0, 0.017f, 0.018f},
                 // 20 of 100, to the bit.
                 {{100, 80, 120, 80, 120}, 0, fifth, above(fifth)}};
    for (const auto& c : cases) {
        for (const TestImage& image :
             {fiveSquares(c.values, c.more), fiveSquares(c.values, c.more, 700, kWideOrigins)}) {
            EXPECT_EQ(1062, uniform(image, c.fails)) << "case " << &c - cases;
            EXPECT_EQ(0, uniform(image, c.passes)) << "case " << &c - cases;
        }
    }
    EXPECT_EQ(0, uniform(fiveSquares({0, 0, 0, 0, 4}), -1.0f));  // the mean of 0.8 is truncated
    EXPECT_EQ(1062, uniform(constantImage(76, 76, 7), 0.0f));    // the smallest image: squares at its very edges
}

// Images that are even, uneven, dark, bright and of all values.
std::vector<TestImage> imagesOfSize(int width, int height) {
    const auto seed = static_cast<std::uint64_t>(width * height);
    std::vector<TestImage> images = {
        flatImage(width, height, 3000, 90, seed),      flatImage(width, height, 60000, 90, seed),
        flatImage(width, height, 600, 25, seed),       randomImage(width, height, 0, 65535, seed),
        randomImage(width, height, 0, 19998, seed),    randomImage(width, height, 400, 402, seed),
        randomImage(width, height, 65500, 65535, seed)};
    for (int i : {0, 1})
        for (std::size_t pixel = 0; pixel < images[i].pixels.size(); ++pixel)
            images[i].pixels[pixel] += static_cast<WORD>(static_cast<int>(pixel) % width * 900 / width);
    return images;
}

Floats stepsOf(const Floats& means) {
    Floats steps = {0.0f};
    for (std::size_t i = 1; i < means.size(); ++i)
        steps.push_back(std::fabs(means[i] - means[i - 1]));
    return sortedDown(steps);
}

// Limits around what the plain method measures.
TEST_F(UniformityCheck, verdicts_agree_with_the_plain_methods) {
    for (const int w : {32, 33, 64, 65, 97, 131, 330}) {
        for (const int h : {1, 2, 7, 76, 204}) {
            for (const TestImage& image : imagesOfSize(w, h)) {
                SCOPED_TRACE(testing::Message() << w << " x " << h);
                const std::vector<WORD> before = image.pixels;
                const int step = static_cast<int>(stepsOf(plain::stripMeans(image.data(), w, h))[0]);
                const int level = static_cast<int>(plain::darkLevel(image.data(), w, h));
                for (int i = -2; i <= 2; ++i) {
                    EXPECT_EQ(plain::analysisStrip(image.data(), w, h, step + i), strips(image, step + i));
                    EXPECT_EQ(plain::darkImgGrayAnalysis(image.data(), w, h, level + i), darkGray(image, level + i));
                }
                EXPECT_EQ(before, image.pixels);
            }
        }
    }
}

// Squares, strips or blocks that do not lie within the image.
TEST_F(UniformityCheck, null_images_and_small_ones_are_refused) {
    using Sizes = std::vector<std::pair<int, int>>;
    const auto globally = [](const WORD* image, int w, int h) { return checkGlobalUniform(image, w, h, -1.0f); };
    const struct {
        int (*check)(const WORD* image, int width, int height);
        Sizes sizes;
    } cases[] = {{getUniform, {{75, 640}, {640, 75}, {63, 63}}},
                 {analysisStrip, {}},
                 {darkImgGrayAnalysis, {{31, 640}}},
                 {globally, {{319, 640}, {640, 319}, {63, 63}}}};
    const std::vector<WORD> pixels(64, 7);
    for (auto [check, sizes] : cases) {
        EXPECT_EQ(1057, check(nullptr, 640, 640));
        sizes.insert(sizes.end(), {{0, 640}, {640, 0}, {-640, -1}, {65536, 65536}});
        for (const auto& [w, h] : sizes)
            EXPECT_EQ(1020, check(pixels.data(), w, h)) << w << " x " << h;
    }
}

// Strips of the given values, `last` columns behind them.
TestImage stripImage(const std::vector<int>& values, int height, int last, int lastValue = 0) {
    const int strips = static_cast<int>(values.size());
    TestImage image = constantImage(32 * strips + last, height, static_cast<WORD>(lastValue));
    for (int i = 0; i < strips; ++i)
        image.fill(0, 32 * i, height, 32, values[static_cast<std::size_t>(i)]);
    return image;
}

TEST_F(AnalysisStrip, by_hand) {
    TestImage oneLess = stripImage({100, 110}, 3, 32);
    --oneLess.at(2, 63);
    const struct {
        TestImage image;
        int step;
    } cases[] = {{stripImage({100, 110, 120}, 3, 32), 10},
                 {stripImage({120, 110, 100}, 3, 32), 10},
                 {oneLess, 9},
                 {stripImage({7, 7}, 3, 1), 0},
                 // The last 1 to 32 columns are not examined.
                 {stripImage({100, 100}, 3, 32, 9000), 0},
                 {stripImage({100, 100, 9000}, 3, 0), 0},
                 {stripImage({100, 100, 9000}, 3, 1), 8900}};
    for (const auto& c : cases) {
        EXPECT_EQ(1063, strips(c.image, c.step)) << "case " << &c - cases;
        EXPECT_EQ(0, strips(c.image, c.step + 1)) << "case " << &c - cases;
    }
    // A single strip has no neighbour.
    EXPECT_EQ(0, strips(stripImage({100, 9000}, 3, 0), -1));
    EXPECT_EQ(0, strips(stripImage({}, 3, 5), -1));
}

// Above 2^24 a sum in single precision rounds every pixel: large ones to the next multiple of 4 or 8, and ones not at
// all when they are added to one large sum.
TEST_F(AnalysisStrip, sums_are_single_precision_in_pixel_order) {
    EXPECT_EQ(1063, strips(stripImage({65535, 65529}, 64, 1), 7));
    EXPECT_EQ(0, strips(stripImage({65531, 65525}, 64, 1), 6));
    // The exact step is 16384.5; without the ones it is 16383.75.
    for (const int brightRow : {0, 48}) {
        TestImage ones = stripImage({1, 0}, 64, 1);
        ones.fill(brightRow, 0, 16, 32, 65535);
        EXPECT_EQ(brightRow == 0 ? 0 : 1063, strips(ones, 16384)) << brightRow;
    }
}

// Half of a strip's pixels lie `distance` above the value, half below.
void makeNoisy(TestImage& image, int firstColumn, int value, int distance) {
    for (int i = 0; i < 32 * image.height; ++i)
        image.at(i / 32, firstColumn + i % 32) = static_cast<WORD>(value + (i % 2 == 0 ? distance : -distance));
}

TEST_F(DarkGray, by_hand) {
    const auto noisyStrip = [](std::vector<int> values, int noisy, int last) {
        TestImage image = stripImage(values, 2, last);
        makeNoisy(image, 32 * noisy, 300, 10);
        return image;
    };
    // 300.5 is truncated to 300, for the deviation, too: 300 - 3 x 0.71.
    TestImage half = stripImage({300, 400}, 2, 32);
    half.fill(0, 0, 2, 16, 301);
    // The minimum is truncated to 300: 300.25 does not go below.
    TestImage quarter = half;
    makeNoisy(quarter, 32, 300, 200);
    for (int column = 32; column < 48; ++column)
        ++quarter.at(0, column);
    // The deviation is sqrt(71111 / 64): three of them are 99.99992, but 100 in single precision below 9500.
    TestImage nearly = constantImage(64, 2, 9500);
    constexpr int kDistances[] = {188, 14, 3, 2, 1, 1};
    for (int i = 0; i < 6; ++i) {
        nearly.at(0, i) += static_cast<WORD>(kDistances[i]);
        nearly.at(1, i) -= static_cast<WORD>(kDistances[i]);
    }
    ++nearly.at(0, 31);
    // The mean of 59999.999 is 60000 in single precision, which is truncated.
    TestImage bright = constantImage(64, 32, 60000);
    --bright.at(31, 31);
    const struct {
        TestImage image;
        int level;  // lowest floor that refuses it
    } cases[] = {{nearly, 9400},
                 {bright, 60000},
                 {constantImage(96, 2, 0), 0},
                 {noisyStrip({500, 0, 500}, 1, 32), 270},
                 // Of equal strips the left one.
                 {noisyStrip({0, 300}, 0, 32), 270},
                 {noisyStrip({300, 0}, 1, 32), 300},
                 {half, 298},
                 {quarter, 298},
                 // None below 10000: the leftmost.
                 {stripImage({20000, 10000}, 2, 32), 20000},
                 {stripImage({20000, 9999}, 2, 32), 9999},
                 // The last 1 to 32 columns are not examined; a single strip is.
                 {stripImage({300, 0}, 2, 0), 300},
                 {stripImage({300, 0}, 2, 1), 0},
                 {noisyStrip({0}, 0, 0), 270}};
    for (const auto& c : cases) {
        EXPECT_EQ(1066, darkGray(c.image, c.level)) << "case " << &c - cases;
        EXPECT_EQ(0, darkGray(c.image, c.level - 1)) << "case " << &c - cases;
    }
}

// The first strip's mean is 8204.2 exactly and 8203.4 in single precision, where its ones are lost: the second strip of
// 8203.5 is darker than the former only.
TEST_F(DarkGray, sums_are_single_precision_in_pixel_order) {
    TestImage image = stripImage({1, 8203}, 64, 32);
    image.fill(0, 0, 8, 32, 60000);
    image.fill(8, 0, 1, 24, 60000);
    image.at(8, 24) = 500;
    image.fill(0, 32, 32, 32, 8204);
    EXPECT_EQ(1066, darkGray(image, 5000));
}

// The stored average dark image of 500 ms and gain 2 in the detector's offset directory.
class AnalysisRcn : public DetectorFixture {
protected:
    AnalysisRcn() { EXPECT_EQ("", qxkit::setDirectories(folder().path())); }

    void store(const Floats& image, const std::string& name = "dark-500ms-std-gain2.raw") const {
        std::string bytes;
        for (const float value : image)
            append(bytes, value);
        writeFile(std::filesystem::path(folder() / "offset") / name, bytes);
    }
    static int analyse(int width, int height, float limit) {
        detector().config.rcnRowDiffLimit = limit;
        return analysisRcn(width, height);
    }
    // Rows of two pixels whose means go up by 2 up to a row and stay from there on.
    static Floats staircase(int height, int steps) {
        Floats image;
        for (int row = 0; row < height; ++row) {
            const auto mean = static_cast<float>(100 + 2 * std::min(row, steps));
            image.insert(image.end(), {mean - 5.0f, mean + 5.0f});
        }
        return image;
    }
};

// A row that is no number has no step to either side; the file may be longer.
TEST_F(AnalysisRcn, row_without_a_mean_has_no_step_and_the_rest_of_the_file_does_not_count) {
    Floats image = staircase(502, 501);
    image[500] = std::numeric_limits<float>::quiet_NaN();
    store(image);
    EXPECT_EQ(0, analyse(2, 502, 2.0f));
    EXPECT_EQ(0, analyse(2, 250, 2.0f));
    setDebug(1);
    const std::string printed = printedBy([] { analyse(2, 502, 2.0f); });
    EXPECT_NE(std::string::npos, printed.find(" fread return count=4016\n")) << printed;
}

TEST_F(AnalysisRcn, verdict_turns_at_the_plain_value) {
    for (const int width : {1, 3, 4, 5, 8, 33, 70}) {
        for (const int height : {501, 560, 701}) {
            SplitMix64 random(static_cast<std::uint64_t>(width * height));
            Floats image;
            for (int i = 0; i < width * height; ++i)
                image.push_back(static_cast<float>(600.0 + 25.0 * random.gaussian()));
            store(image);
            const float step = stepsOf(plain::rowMeans(image.data(), width, height))[499];
            EXPECT_EQ(1064, analyse(width, height, step)) << width << " x " << height;
            EXPECT_EQ(0, analyse(width, height, above(step))) << width << " x " << height;
        }
    }
}

TEST_F(AnalysisRcn, file_is_named_after_exposure_time_and_gain) {
    const struct {
        float exposureMs;
        int gain, registerStatus;
        const char* name;
    } cases[] = {{299.5f, 7, 0, "dark-300ms-std-gain7.raw"},
                 {0.0f, 0, 0, "dark-0ms-std-gain0.raw"},
                 {2000.0f, 3, 7, "dark-500ms-std-gain7.raw"},
                 {300.0f, 1, -3, "dark-500ms-std-gain-3.raw"}};
    for (const auto& c : cases) {
        detector().registers.exposureTimeMs = c.exposureMs;
        qxkit::setGainId(c.gain);
        detector().faults.getFpgaReg = c.registerStatus;
        EXPECT_EQ(1039, analyse(2, 501, 2.0f)) << c.name;
        store(staircase(501, 500), c.name);
        EXPECT_EQ(1064, analyse(2, 501, 2.0f)) << c.name;
        std::filesystem::remove(std::filesystem::path(folder() / "offset") / c.name);
    }
    detector().offsetDirectory = kitDirectory(folder() / "nowhere");
    EXPECT_EQ(1039, analyse(2, 501, 2.0f));
    EXPECT_EQ(Lines{}, logLines());
}

TEST_F(AnalysisRcn, short_files_and_impossible_sizes) {
    Floats image = staircase(501, 500);
    image.pop_back();
    store(image);
    EXPECT_EQ(1040, analyse(2, 501, 2.0f));
    store({});
    EXPECT_EQ(1040, analyse(1, 1, 2.0f));
    for (const auto& [w, h] : {std::pair{0, 501}, {2, 0}, {-2, -501}, {65536, 65536}})
        EXPECT_EQ(1020, analysisRcn(w, h)) << w << " x " << h;
}

// The first `count` inner blocks, row by row.
void fillInner(TestImage& image, int count, int value) {
    const int columns = image.width / 64 - 4;
    for (int i = 0; i < count; ++i)
        image.fill(64 * (2 + i / columns), 64 * (2 + i % columns), 64, 64, value);
}

TEST_F(CheckGlobalUniform, verdict_turns_at_the_fourth_largest_plain_deviation) {
    setLogLevel(4);
    for (const auto& [w, h] : {std::pair{384, 384}, {400, 511}, {640, 385}}) {
        for (const TestImage& image : imagesOfSize(w, h)) {
            const std::vector<WORD> before = image.pixels;
            const float fourth = sortedDown(plain::blockDeviations(image.data(), w, h))[3];
            EXPECT_EQ(0, globalUniform(image, fourth)) << w << " x " << h;
            EXPECT_EQ(1062, globalUniform(image, below(fourth))) << w << " x " << h;
            EXPECT_EQ(before, image.pixels);
        }
    }
}

// 289 blocks add up to more than single precision holds. Deviations of a black image are not numbers.
TEST_F(CheckGlobalUniform, reference_is_summed_in_double_precision) {
    TestImage image = constantImage(1344, 1344, 65535);
    fillInner(image, 4, 60001);
    const auto reference = static_cast<float>((285 * 65535.0 + 4 * 60001.0) / 289);
    const float deviation = (reference - 60001.0f) / reference;
    EXPECT_EQ(0, globalUniform(image, deviation));
    EXPECT_EQ(1062, globalUniform(image, below(deviation)));
    EXPECT_EQ(0, globalUniform(constantImage(384, 384, 0), -1.0f));
    EXPECT_EQ(0, globalUniform(constantImage(320, 320, 7), -1.0f));  // one block is tolerated
}

// The largest deviation is looked for behind the first 16 inner blocks and before the last 16; where there are fewer
// the first block's is shown.
TEST_F(CheckGlobalUniform, course_is_logged) {
    TestImage image = constantImage(640, 640, 1000);
    fillInner(image, 3, 3000);
    image.fill(64 * 4, 64 * 7, 64, 64, 2000);  // inner block 17
    image.fill(64 * 5, 64 * 4, 64, 64, 2500);  // inner block 20
    const struct {
        TestImage image;
        float limit;
        int status;
        const char* largest;
    } cases[] = {{image, 0.3f, 1062, "0.617978"},
                 {image, 1.1f, 0, "0.617978"},
                 {randomImage(384, 448, 0, 65535, 5), 0.001f, 1062, "0.017496"}};
    for (const auto& c : cases) {
        EXPECT_EQ(c.status, globalUniform(c.image, c.limit));
        EXPECT_EQ((Lines{"<checkGlobalUniform> begins", std::string("max disuniform degree:") + c.largest,
                         "<checkGlobalUniform> terminates" + std::to_string(c.status)}),
                  takeLog());
    }
}

}  // namespace
