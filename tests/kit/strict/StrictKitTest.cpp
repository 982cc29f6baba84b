// What the library does with a kit whose texts and records end with its next call, and what it gives to that kit.

#include "StrictKit.h"
#include "Builders.h"
#include "DefectFiles.h"
#include "SnrFiles.h"
#include "StripeBands.h"

#include "platform/Clock.h"

#include <QxUtils.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <tuple>

namespace {

namespace fs = std::filesystem;
using namespace qx::test;
using Calls = std::vector<std::string>;
using Longs = std::vector<std::uint32_t>;
using Words = std::vector<std::uint16_t>;

constexpr int kWidth = 3, kHeight = 2, kPixels = kWidth * kHeight;
const std::string kDarkName = "ndt-dark-aed-300ms-gain2-4f.raw";
const std::string kGainName = "ndt-linear-gain2.raw";
const std::string kFixedName = "Fixed-LINEAR-gain2.raw";

template <class Value>
std::string calibration(const std::vector<Value>& values) {
    return std::string(65536, 'c') +
           std::string(reinterpret_cast<const char*>(values.data()), sizeof(Value) * values.size());
}

// A detector of 3 x 2 pixels with a stored dark image, gains of 1 and defect files.
class StrictKitTest : public ::testing::Test {
protected:
    StrictKitTest() {
        qx::setClock([] { return qx::LocalTime{2024, 3, 5, 9, 7, 1, 42}; });
        start();
    }
    ~StrictKitTest() override { qx::setClock(nullptr); }

    // The same folder and the same detector as at first.
    void start(bool moves = true) {
        fs::remove_all(root_);
        strictKit() = {};
        strictKit().moves = moves;
        strictKit().root = folder_.path();
        strictKit().root += "kit\\";
        strictKit().width = kWidth;
        strictKit().height = kHeight;
        strictKit().integrationTimeMs = 800;
        ConfigInfo& config = strictKit().config;
        config.loggingEnabled = 1;
        config.uniformityCvLimit = config.rcnRowDiffLimit = config.gainGroupCvLimit = 0.5f;
        config.stripMeanDiffLimit = config.darkLevelFloor = config.falseTriggerMedianFloor = 100;
        config.exposedBlockFloor = 1000;
        config.maxGrayValue = 5000;
        for (const char* name : {"offset", "gain", "defect", "temperature", "logs", "500ms"})
            fs::create_directories(root_ / name);
        writeFile(root_ / "offset" / kDarkName, calibration(Longs(kPixels, 10)));
        writeFile(root_ / "offset" / "dark-300ms-std-gain2.raw", std::string(4008, '\0'));
        writeFile(root_ / "gain" / kGainName, calibration(Words(kPixels, 10000)));
        writeFile(root_ / "gain" / kFixedName, calibration(std::vector<float>(kPixels, 2.0f)));
        writeFile(root_ / "defect" / "NormalDefectInfo.cal",
                  classicFile({.width = kWidth, .points = {{1, 0}}, .lines = {{2, 0, 2, 9}}, .clusterWords = {}}));
        DefectInfo defects;
        defects.points = {{1, 0, 0, 0}, {0, 1, 0, 0}};
        defects.clusters = {{{2, 0, 0, 0}, {{0, 0, 0, 0}, {2, 0, 0, 0}}}, {{1, 0, 0, 0}, {{2, 1, 0, 0}}}};
        defects.rows = {{{2, 0, 0, 0, 0}, {{0, 1, 0, 0}, {0, 0, 0, 0}}}};
        defects.columns = {{{1, 0, 0, 0, 0}, {{2, 0, 0, 0}}}};
        writeFile(root_ / "defect" / "NormalStructurizedDefect.cal", structuredFile(defects));
    }

    // The content of every file below the root.
    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> contents;
        for (const auto& entry : fs::recursive_directory_iterator(root_))
            contents[fs::relative(entry.path(), root_).string()] =
                entry.is_regular_file() ? readFile(entry.path()) : "a folder";
        return contents;
    }

    static int correct(Longs& image, const Longs* dark) {
        return correctNDTImage(image.data(), dark != nullptr ? dark->data() : nullptr, kPixels);
    }

    const TemporaryDirectory folder_;
    const fs::path root_ = fs::path(folder_ / "kit");
    const Longs raw_ = {110, 210, 310, 410, 510, 610}, dark_ = Longs(kPixels, 10);
};

using Work = std::function<int(StrictKit& kit, Longs& image)>;

// Every operation that asks the kit, with the work it has when it asks most.
std::map<std::string, Work> operations(const fs::path& root) {
    static const TestImage flat = constantImage(512, 768, 3000), dark = constantImage(512, 768, 200);
    static const std::vector<float> floats(1280 * 256, 300.0f);
    const auto ndt = [](int method, std::uint32_t fixedGain, const std::string& missing = "") {
        return [=](StrictKit& kit, Longs& image) {
            kit.config.defectCorrectionMethod = method;
            kit.config.fixedLinearGainEnabled = fixedGain;
            kit.config.correctedImageDumpLevel = 1;
            if (!missing.empty())
                fs::remove(fs::path(kit.root.substr(0, kit.root.size() - 1)) / missing);
            return correctNDTImage(image.data(), nullptr, kPixels);
        };
    };
    const auto plain = [](std::function<int()> call) { return [=](StrictKit&, Longs&) { return call(); }; };
    return {
        {"log", plain([=] {
             writeFile(root / "logs" / "2001-01-01.log", "old");
             WriteErrorLine(LogModuleCorr, 7, "Utilities");
             return WriteLogFile(LogModuleUtils, LogInfo, "line", 7) + 10 * removeLogFile();
         })},
        {"settings", plain([] {
             return getPowerModeId() + 10 * getGainId() + 100 * getAEDTrigSource() + 1000 * getReadOutChannels() +
                    1000000 * getCurrentExpTime();
         })},
        {"training record", plain([] {
             recordAedTrainStepInfo(flat.data(), 512, 768);
             return 0;
         })},
        {"calibration",
         [](StrictKit&, Longs& image) { return executeNDTCAL(image.data(), Longs(kPixels, 10).data(), kPixels); }},
        {"calibration in vain",
         [=](StrictKit&, Longs& image) {
             fs::remove(root / "gain" / kGainName);
             fs::create_directory(root / "gain" / kGainName);
             return executeNDTCAL(image.data(), image.data(), kPixels);
         }},
        {"NDT, classic", ndt(0, 0)},
        {"NDT, structured", ndt(1, 0)},
        {"NDT, fixed gain", ndt(2, 1)},
        {"NDT, no dark image", ndt(2, 0, "offset/" + kDarkName)},
        {"NDT, no gain", ndt(2, 0, "gain/" + kGainName)},
        {"NDT, no fixed gain", ndt(2, 1, "gain/" + kFixedName)},
        {"NDT, no list", ndt(1, 0, "defect/NormalStructurizedDefect.cal")},
        {"row noise", plain([] { return analysisRcn(2, 501); })},
        {"strips", plain([] { return analysisStrip(flat.data(), 512, 768); })},
        {"dark level", plain([] { return darkImgGrayAnalysis(flat.data(), 512, 768); })},
        {"uniformity", plain([] { return getUniform(flat.data(), 512, 768); })},
        {"first image", plain([] { return checkFirstImg(flat.data(), dark.data(), 512, 768); })},
        {"preview", plain([] { return checkPreImg(flat.data(), dark.data(), 512, 768); })},
        {"false trigger", plain([] { return checkFalseTriggAEDImage(floats.data(), 1280, 256); })},
        {"offset image", plain([] { return checkOffsetImageQuality(floats.data(), 1280, 256); })},
        {"gain group", plain([=] {
             const std::string path = (root / "gain" / kGainName).string();
             const char* const paths[] = {path.c_str()};
             return checkGainImgGroup(paths, 1);
         })},
        {"AFE balance", plain([] {
             std::vector<float> image = floats;
             return correctRDwithoutRgain(image.data(), 1280, 256);
         })},
        // A pixel that ends at the largest gray value.
        {"stripe", plain([] {
             BandColumn stripe = bandColumn(4000, 4000, 4000);
             for (std::size_t i = 0; i < 5; ++i)
                 stripe[20 + i] = 200 * (19 - static_cast<int>(i));
             TestImage reference = bandOfTwoKinds(10, 10, stripe, 4010);
             reference.pixels.insert(reference.pixels.begin(), static_cast<std::size_t>(reference.width), 0);
             TestImage image = constantImage(3, 40, 208 + 3750);
             correctAedStripeClinic(image.pixels.data(), reference.data(), 3, 20, 40, 26);
             return static_cast<int>(image.at(25, 1));
         })},
        {"factory SNR",
         [=](StrictKit& kit, Longs&) {
             kit.width = 140;
             kit.height = 130;
             writeFile(root / "500ms" / "one", imageFile(flatImage(140, 130, 5000, 9, 1), 500.0f));
             const std::string dir = kit.root;
             return retrieveAllSNRForQualityCheck(7, dir.c_str());
         }},
    };
}

TEST_F(StrictKitTest, texts_and_records_that_end_with_the_next_call_change_nothing) {
    for (const auto& [name, work] : operations(root_)) {
        const auto outcome = [&, &work = work](bool moves) {
            start(moves);
            Longs image = raw_;
            ::testing::internal::CaptureStdout();
            const int result = work(strictKit(), image);
            return std::tuple(result, ::testing::internal::GetCapturedStdout(), image, strictKit().calls, files());
        };
        EXPECT_TRUE(outcome(false) == outcome(true)) << name;
    }
    EXPECT_FALSE(fs::exists("stale"));
}

TEST_F(StrictKitTest, headers_are_empty_when_the_kit_fills_them) {
    const auto headerOf = [&](const std::string& file) { return readFile(root_ / file).substr(0, 65536); };
    for (const int status : {0, 9}) {
        start();
        strictKit().headerStatus = status;
        EXPECT_EQ(0, executeNDTCAL(raw_.data(), dark_.data(), kPixels));
        EXPECT_EQ((Calls{"fillImgHead 18 1 empty", "fillImgHead 19 1 empty"}), strictKit().calls);
        const std::string expected = std::string(8, status == 0 ? 'h' : '\0') + std::string(65528, '\0');
        EXPECT_TRUE(expected == headerOf("offset/" + kDarkName)) << status;
        EXPECT_TRUE(expected == headerOf("gain/" + kGainName)) << status;
    }
    start();
    Longs image = raw_;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(0, operations(root_).at("factory SNR")(strictKit(), image));
    ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(Calls{"fillImgHead 17 1 empty"}, strictKit().calls);
}

TEST_F(StrictKitTest, missing_calibration_files_are_asked_for_by_kind_and_name) {
    const struct {
        std::string missing;
        std::uint32_t fixedGain;
        std::string call;
        int delivered;  // the result when the kit says that it has delivered the file, which is not there
    } cases[] = {{"offset/" + kDarkName, 0, "transferFile 0 " + kDarkName + " 1", 1039},
                 {"gain/" + kGainName, 0, "transferFile 1 " + kGainName + " 1", 1039},
                 {"gain/" + kFixedName, 1, "transferFile 1 " + kFixedName + " 1", 1039}};
    for (const auto& c : cases) {
        for (const int status : {0, 1}) {
            start();
            strictKit().transferStatus = status;
            strictKit().config.fixedLinearGainEnabled = c.fixedGain;
            fs::remove(root_ / c.missing);
            Longs image = raw_;
            ::testing::internal::CaptureStdout();
            EXPECT_EQ(status == 0 ? c.delivered : 1077, correct(image, nullptr)) << c.missing;
            EXPECT_EQ("", ::testing::internal::GetCapturedStdout());  // as long as nobody has set the debug flag
            EXPECT_EQ(Calls{c.call}, strictKit().calls);
            EXPECT_EQ(raw_, image);
        }
    }
}

// Pixels are in order: a point at (1, 0) is pixel 1, one at (0, 1) pixel 3. The kit's result decides.
TEST_F(StrictKitTest, defects_are_handed_to_the_kit_and_its_results_are_obeyed) {
    const std::string floats = " 100.5 200.5 300.5 400.5 500.5 600.5";
    writeFile(root_ / "gain" / kFixedName, calibration(std::vector<float>(kPixels, 1.0f)));
    const std::string split = "split 3 x 2: points 1 3, clusters 0 2 -1 5, rows 1 0, columns 2; A points, clusters, "
                              "rows, columns; B points, clusters, rows, columns";
    const std::string fromSplit = "correct 3 x 2" + floats + ": points 1 3, clusters, rows 1, columns; 0";
    const std::string fromList = "correct 3 x 2" + floats + ": points 1, clusters, rows, columns 2; 0";
    const Longs byList = {100, 1200, 300, 400, 500, 600}, bySplit = {100, 1200, 300, 1400, 500, 600};
    const struct {
        int method, splitStatus, correctionStatus, result;
        Calls calls;
        Longs image;
    } cases[] = {{0, 0, 0, 0, {fromList}, byList},
                 {0, 5, 0, 0, {fromList}, byList},
                 {0, 0, 7, 7, {fromList}, raw_},
                 {1, 0, 0, 0, {split, fromSplit}, bySplit},
                 {1, 0, 7, 7, {split, fromSplit}, raw_},
                 {1, 5, 0, 5, {split}, raw_},
                 {2, 5, 7, 0, {}, {100, 200, 300, 400, 500, 600}}};
    for (const auto& c : cases) {
        strictKit().calls.clear();
        strictKit().config.fixedLinearGainEnabled = 1;
        strictKit().config.defectCorrectionMethod = c.method;
        strictKit().splitStatus = c.splitStatus;
        strictKit().correctionStatus = c.correctionStatus;
        Longs image = raw_;
        EXPECT_EQ(c.result, correct(image, &dark_));
        EXPECT_EQ(c.calls, strictKit().calls);
        EXPECT_EQ(c.image, image);
        fs::remove_all(root_ / "logs");
    }
}

}  // namespace
