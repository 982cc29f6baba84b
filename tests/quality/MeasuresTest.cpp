// Checks and their measures at the limits: the records tell the verdict, and taking them is silent.

#include "BinaryFields.h"
#include "DetectorFixture.h"

#include <QxUtils/Measures.h>
#include <QxUtils/Quality.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <set>

namespace {

using namespace qx::test;
using Codes = std::vector<int>;
using Floats = std::vector<float>;
using Measure = std::function<int(CheckMeasures*)>;
using Check = std::function<int()>;

bool stands(const CheckMeasure& record) {
    switch (record.comparison) {
    case MeasureBelow:
        return record.value < record.limit;
    case MeasureAtMost:
        return record.value <= record.limit;
    case MeasureAbove:
        return record.value > record.limit;
    default:
        return record.value >= record.limit;
    }
}

class MeasuresAtTheLimits : public DetectorFixture {
protected:
    MeasuresAtTheLimits() {
        EXPECT_EQ("", qxkit::setDirectories(folder().path()));
        detector().afeWidth = 384;
    }

    // codes: what the check returns for each requirement that is not met.
    CheckMeasures agree(const Check& check, const Measure& measure, const Codes& codes) {
        int verdict = -1;
        printedBy([&] { verdict = check(); });
        CheckMeasures taken{};
        taken.count = -1;
        expectSilence([&] { EXPECT_EQ(0, measure(&taken)); });
        for (int i = 0; i < taken.count; ++i) {
            const CheckMeasure& record = taken.measures[i];
            EXPECT_EQ(std::isnan(record.value) || stands(record), record.met == 1) << record.name;
        }
        const CheckMeasure& last = taken.measures[taken.count - 1];
        EXPECT_EQ(last.met == 1, isPassed(taken)) << last.name;
        EXPECT_EQ(verdict, isPassed(taken) ? 0 : codes.at(static_cast<std::size_t>(last.requirement)))
            << last.name << ": " << last.value << " beside " << last.limit;
        ++seen_[std::to_string(verdict) + ' ' + std::string(last.name, std::strcspn(last.name, " "))];
        return taken;
    }

    template <class Call>
    void expectSilence(Call call) {
        std::filesystem::remove_all(logFolder());
        setDebug(1);
        EXPECT_EQ("", printedBy(call));
        setDebug(0);
        EXPECT_FALSE(std::filesystem::exists(logFolder()));
        WriteLogFile(LogModuleUtils, LogError, "the silence ends", kLogNoValue);
        EXPECT_TRUE(std::filesystem::exists(logFolder()));
    }

    // The limit becomes what is measured, 0 where nothing is, and the next ones to it.
    template <class Limit>
    void agreeAround(Limit& limit, const Check& check, const Measure& measure, const Codes& codes, int record = 0) {
        const double measured = agree(check, measure, codes).measures[record].value;
        const double value = std::isnan(measured) ? 0.0 : measured;
        for (const int step : {-1, 0, 1}) {
            if constexpr (std::is_same_v<Limit, float>)
                limit = step == 0 ? static_cast<float>(value) : std::nextafter(static_cast<float>(value), step * 9e9f);
            else
                limit = static_cast<Limit>(std::floor(value)) + step;
            agree(check, measure, codes);
        }
    }

    // Verdicts and the first word of the measure that decided.
    void expectKinds(const std::set<std::string>& kinds) const {
        std::set<std::string> seen;
        for (const auto& [kind, times] : seen_)
            seen.insert(times > 1 ? kind : kind + " once");
        EXPECT_EQ(kinds, seen);
    }

    static ConfigInfo& config() { return detector().config; }

private:
    std::map<std::string, int> seen_;
};

TEST_F(MeasuresAtTheLimits, of_flat_and_of_dark_images) {
    for (const std::uint64_t seed : {1, 2, 3, 4}) {
        for (const TestImage& image : {flatImage(390, 384, 3000, 90, seed), randomImage(384, 390, 0, 9999, seed),
                                       constantImage(384, 384, static_cast<WORD>(seed * 100 - 100))}) {
            const WORD* const data = image.data();
            const int w = image.width;
            const int h = image.height;
            agreeAround(
                config().uniformityCvLimit, [=] { return getUniform(data, w, h); },
                [=](CheckMeasures* taken) { return measureUniform(data, w, h, taken); }, {1062});
            float limit = 0.1f;
            agreeAround(
                limit, [&] { return checkGlobalUniform(data, w, h, limit); },
                [&](CheckMeasures* taken) { return measureGlobalUniform(data, w, h, limit, taken); }, {1062});
            agreeAround(
                config().stripMeanDiffLimit, [=] { return analysisStrip(data, w, h); },
                [=](CheckMeasures* taken) { return measureStrip(data, w, h, taken); }, {1063});
            agreeAround(
                config().darkLevelFloor, [=] { return darkImgGrayAnalysis(data, w, h); },
                [=](CheckMeasures* taken) { return measureDarkGray(data, w, h, taken); }, {1066});
        }
    }
    expectKinds(
        {"0 variation", "1062 variation", "0 4th", "1062 4th", "0 step", "1063 step", "0 darkest", "1066 darkest"});
}

constexpr int kWidth = 768;
constexpr int kHeight = 512;

// A level that rises from left to right, and a dim corner of some blocks.
TestImage exposed(double tilt, int dimBlocks, std::uint64_t seed) {
    TestImage image = flatImage(kWidth, kHeight, 1000, 30, seed);
    for (int row = 0; row < kHeight; ++row) {
        for (int col = 0; col < kWidth; ++col) {
            const bool dim = row / 32 < 4 && col / 32 < dimBlocks;
            const double level = 9000 * (1 + tilt * (col - kWidth / 2) / (kWidth / 2)) * (dim ? 0.01 : 1.0);
            image.at(row, col) = static_cast<WORD>(image.at(row, col) + static_cast<int>(level));
        }
    }
    return image;
}

TEST_F(MeasuresAtTheLimits, of_exposures) {
    const TestImage dark = constantImage(kWidth, kHeight, 1000);
    SplitMix64 random(5);
    for (int round = 0; round < 24; ++round) {
        // The corners differ too much from a tilt of 0.45 on.
        const double tilt = round % 3 == 0 ? 0.4 + 0.1 * random.uniform() : 0.0;
        const TestImage image =
            exposed(tilt, round % 3 == 1 ? 3 + random.below(3) : 0, 40 + static_cast<std::uint64_t>(round));
        const Check first = [&] { return checkFirstImg(image.data(), dark.data(), kWidth, kHeight); };
        const Measure firstMeasures = [&](CheckMeasures* taken) {
            return measureFirstImg(image.data(), dark.data(), kWidth, kHeight, taken);
        };
        config().exposedBlockFloor = 0;
        agree(first, firstMeasures, {1068, 1062, 1069});
        if (round < 6)
            agreeAround(config().exposedBlockFloor, first, firstMeasures, {1068, 1062, 1069});
        const Check preview = [&] { return checkPreImg(image.data(), dark.data(), kWidth, kHeight); };
        const Measure previewMeasures = [&](CheckMeasures* taken) {
            return measurePreImg(image.data(), dark.data(), kWidth, kHeight, taken);
        };
        config().exposedBlockFloor = 0;
        agreeAround(config().uniformityCvLimit, preview, previewMeasures, {1068, 1062}, 1);
        agreeAround(config().exposedBlockFloor, preview, previewMeasures, {1068, 1062});
        // The region that is drawn is the one that is judged.
        config().exposedBlockFloor = 0;
        std::vector<unsigned char> blocks(24 * 16, 7);
        expectSilence(
            [&] { EXPECT_EQ(0, locateShadow(image.data(), dark.data(), kWidth, kHeight, blocks.data(), 24 * 16)); });
        CheckMeasures taken{};
        firstMeasures(&taken);
        EXPECT_EQ(taken.measures[1].value, std::count(blocks.begin(), blocks.end(), 1));
        EXPECT_EQ(24 * 16, std::count(blocks.begin(), blocks.end(), 0) + std::count(blocks.begin(), blocks.end(), 1));
    }
    expectKinds({"1068 darkest", "1062 blocks", "1069 asymmetry", "0 asymmetry", "1062 variation", "0 variation"});
}

TEST_F(MeasuresAtTheLimits, of_stored_files) {
    SplitMix64 random(6);
    for (const int height : {505, 530, 560}) {
        std::string bytes;
        Floats means;
        for (int row = 0; row < height; ++row) {
            means.push_back(static_cast<float>(random.below(4000)) / 8.0f);
            append(bytes, means.back());
        }
        writeFile(std::filesystem::path(folder() / "offset") / "dark-500ms-std-gain2.raw", bytes);
        Floats steps;
        for (std::size_t i = 1; i < means.size(); ++i)
            steps.push_back(std::fabs(means[i] - means[i - 1]));
        std::sort(steps.begin(), steps.end(), std::greater<>());
        for (const float limit : {steps[498], steps[499], std::nextafter(steps[499], 9e9f), steps[500]}) {
            config().rcnRowDiffLimit = limit;
            agree([=] { return analysisRcn(1, height); },
                  [=](CheckMeasures* taken) { return measureRcn(1, height, taken); }, {1064});
        }
    }
    std::vector<std::string> paths;
    std::vector<const char*> pointers;
    for (const int count : {1, 2, 5}) {
        while (static_cast<int>(paths.size()) < count) {
            const TestImage image = randomImage(20, 30, 100, 100 + random.below(5000), random.next());
            paths.push_back(folder() / ("gain" + std::to_string(paths.size())));
            writeFile(paths.back(), words(image.pixels));
        }
        pointers.clear();
        for (const std::string& path : paths)
            pointers.push_back(path.c_str());
        agreeAround(
            config().gainGroupCvLimit, [&] { return checkGainImgGroup(pointers.data(), count); },
            [&](CheckMeasures* taken) { return measureGainImgGroup(pointers.data(), count, taken); }, {1065});
    }
    for (const char* const list : {"500;1000", ";300;;300", "", "3000000003;12"}) {
        for (const int time : {500, 300, 12, 0}) {
            agree([=] { return CheckDarkTimeRepeat(list, time); },
                  [=](CheckMeasures* taken) { return measureDarkTimeRepeat(list, time, taken); }, {1});
        }
    }
    expectKinds({"0 rows", "1064 rows", "0 spread", "1065 spread", "0 entries", "1 entries"});
}

Floats patched(int width, int height, float level, float patchLevel, SplitMix64& random) {
    Floats image;
    for (int i = 0; i < width * height; ++i)
        image.push_back(level + static_cast<float>(random.below(20)));
    const int top = random.below(height / 2);
    const int left = random.below(width / 2);
    for (int row = top; row < top + height / 2; ++row)
        for (int col = left; col < left + width / 2; ++col)
            image[static_cast<std::size_t>(row * width + col)] = patchLevel;
    return image;
}

TEST_F(MeasuresAtTheLimits, of_images_that_triggered_themselves_and_of_average_dark_images) {
    SplitMix64 random(7);
    const std::pair<int, int> sizes[] = {{768, 96}, {1280, 160}, {1024, 384}, {1280, 256}};
    for (int round = 0; round < 12; ++round) {
        const auto [w, h] = sizes[round % 4];
        const Floats image = patched(w, h, 100, round % 3 == 0 ? 401.0f : 400.5f, random);
        const Measure measure = [&, width = w, height = h](CheckMeasures* taken) {
            return measureFalseTriggAEDImage(image.data(), width, height, taken);
        };
        const Check check = [&, width = w, height = h] { return checkFalseTriggAEDImage(image.data(), width, height); };
        for (const int floor : {0, 100, 1000}) {
            config().falseTriggerMedianFloor = floor;
            const CheckMeasures taken = agree(check, measure, {1094});
            for (int i = 0; i < taken.count; ++i) {
                for (const int doubled : {1, 2}) {
                    for (const int step : {-1, 0, 1, 2}) {
                        config().falseTriggerMedianFloor = doubled * static_cast<int>(taken.measures[i].value) + step;
                        agree(check, measure, {1094});
                    }
                }
            }
        }
    }
    for (int round = 0; round < 60; ++round) {
        detector().type = round % 2 == 0 ? 3 : 5;
        Floats image(256 * 256, 200.0f);
        // 231 of a cell's 256 are a patch.
        const int dim = 226 + random.below(10);
        for (int pixel = 0; pixel < dim; ++pixel)
            image[static_cast<std::size_t>((128 + pixel / 16) * 256 + 16 + pixel % 16)] = 100.0f;
        agree([&] { return checkOffsetImageQuality(image.data(), 256, 256); },
              [&](CheckMeasures* taken) { return measureOffsetImageQuality(image.data(), 256, 256, taken); }, {1});
    }
    expectKinds({"0 brightest", "0 middle", "0 outer", "1094 outer", "0 dark", "1 dark"});
}

TEST_F(MeasuresAtTheLimits, of_snr_series) {
    SplitMix64 random(8);
    for (int round = 0; round < 12; ++round) {
        const TestImage image = flatImage(800, 790, 5000, 40, 80 + static_cast<std::uint64_t>(round));
        const WORD* const data = round % 6 == 5 ? nullptr : image.data();
        SNRSquare squares[6];
        int count = -1;
        ASSERT_EQ(0, measureSNRSquares(data, 800, 790, nullptr, 0, squares, 6, &count));
        ASSERT_EQ(5, count);
        EXPECT_EQ(768, squares[4].side);
        // A factory series whose expectation, or itself, lies at some of the measured values.
        Floats factory;
        for (int k = 0; k < count; ++k) {
            const float share = random.below(2) == 0 ? squares[k].factor : 1.0f;
            factory.push_back(std::nextafter(squares[k].measured / share, random.below(2) == 0 ? 0.0f : 9e9f) + 1e-9f);
        }
        factory[0] = squares[0].measured + 1e-9f;
        agree([&] { return checkGlobalSNR(data, 800, 790, factory); },
              [&](CheckMeasures* taken) { return measureGlobalSNR(data, 800, 790, factory.data(), 5, taken); }, {1088});
        SurfaceFitResult result{};
        evaluateSNRResult(data, 800, 790, factory, result);
        CheckMeasures taken{};
        expectSilence([&] {
            EXPECT_EQ(0, measureSNRResult(data, 800, 790, factory.data(), 5, &taken));
            EXPECT_EQ(0, measureSNRSquares(data, 800, 790, factory.data(), 5, squares, 6, &count));
        });
        EXPECT_EQ(result.evaluation, taken.measures[0].met == 1 ? 1090 : taken.measures[1].met == 1 ? 1091 : 1092);
        int below = 0;
        for (int k = 0; k < count; ++k)
            below += squares[k].belowExpected;
        EXPECT_EQ(below, taken.measures[taken.count - 1].value + (taken.count == 1 ? below : 0));
    }
    expectKinds({"0 squares", "1088 squares"});
}

// What a check refuses, its measures refuse with the same value, and nothing is filled.
TEST_F(MeasuresAtTheLimits, are_refused_as_the_checks_refuse) {
    const std::vector<WORD> pixels(640, 7);
    const Floats floats(640, 7.0f);
    const WORD* const image = pixels.data();
    const char* const missing[] = {"missing.raw"};
    const struct {
        int verdict;
        Measure measure;
    } cases[] = {
        {getUniform(image, 10, 10), [=](CheckMeasures* t) { return measureUniform(image, 10, 10, t); }},
        {getUniform(nullptr, 99, 99), [=](CheckMeasures* t) { return measureUniform(nullptr, 99, 99, t); }},
        {checkGlobalUniform(image, 10, 10, 1), [=](auto* t) { return measureGlobalUniform(image, 10, 10, 1, t); }},
        {analysisStrip(image, 0, 10), [=](CheckMeasures* t) { return measureStrip(image, 0, 10, t); }},
        {darkImgGrayAnalysis(image, 31, 10), [=](CheckMeasures* t) { return measureDarkGray(image, 31, 10, t); }},
        {analysisRcn(3, 3), [](CheckMeasures* t) { return measureRcn(3, 3, t); }},
        {checkFirstImg(image, image, 20, 20), [=](auto* t) { return measureFirstImg(image, image, 20, 20, t); }},
        {checkPreImg(image, nullptr, 20, 20), [=](auto* t) { return measurePreImg(image, nullptr, 20, 20, t); }},
        {checkGlobalSNR(image, 20, 20, {1, 2}),
         [=](auto* t) { return measureGlobalSNR(image, 20, 20, &floats[0], 2, t); }},
        {checkGlobalSNR(nullptr, 600, 600, {1}),
         [=](auto* t) { return measureGlobalSNR(nullptr, 600, 600, &floats[0], 1, t); }},
        {checkGainImgGroup(missing, 1), [=](CheckMeasures* t) { return measureGainImgGroup(missing, 1, t); }},
        {checkGainImgGroup(missing, 0), [=](CheckMeasures* t) { return measureGainImgGroup(missing, 0, t); }},
        {CheckDarkTimeRepeat(nullptr, 1), [](CheckMeasures* t) { return measureDarkTimeRepeat(nullptr, 1, t); }},
        {checkFalseTriggAEDImage(&floats[0], 20, 20),
         [&](auto* t) { return measureFalseTriggAEDImage(&floats[0], 20, 20, t); }},
        {checkOffsetImageQuality(&floats[0], 0, 9),
         [&](auto* t) { return measureOffsetImageQuality(&floats[0], 0, 9, t); }},
    };
    for (const auto& [verdict, measure] : cases) {
        CheckMeasures taken{};
        taken.count = -1;
        EXPECT_GT(verdict, 1000) << "case " << &verdict - &cases[0].verdict;
        EXPECT_EQ(verdict, measure(&taken)) << "case " << &verdict - &cases[0].verdict;
        EXPECT_EQ(-1, taken.count);
        EXPECT_EQ(1057, measure(nullptr));
    }
    int count = -1;
    SNRSquare squares[1]{};
    unsigned char blocks[1]{};
    EXPECT_EQ(1020, measureSNRSquares(image, 640, 640, nullptr, 0, squares, 1, &count));
    EXPECT_EQ(4, count);
    EXPECT_EQ(1057, measureSNRSquares(image, 640, 640, nullptr, 0, nullptr, 9, &count));
    CheckMeasures taken{};
    EXPECT_EQ(1057, measureSNRSquares(image, 640, 640, nullptr, 0, squares, 9, nullptr));
    EXPECT_EQ(1057, measureGlobalSNR(image, 640, 640, nullptr, 9, &taken));
    EXPECT_EQ(1057, measureSNRResult(image, 640, 640, nullptr, 9, &taken));
    EXPECT_EQ(1020, locateShadow(image, image, 64, 32, blocks, 1));
    EXPECT_EQ(1057, locateShadow(image, image, 64, 32, nullptr, 2));
    EXPECT_EQ(1057, locateShadow(nullptr, image, 64, 32, blocks, 2));
    // Below the floor there is no shadow.
    detector().config.exposedBlockFloor = 1;
    const TestImage unexposed = constantImage(64, 64, 200);
    unsigned char shadow[4] = {7, 7, 7, 7};
    EXPECT_EQ(0, locateShadow(unexposed.data(), unexposed.data(), 64, 64, shadow, 4));
    EXPECT_EQ(0, shadow[0] + shadow[1] + shadow[2] + shadow[3]);
}

}  // namespace
