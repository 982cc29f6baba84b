#include "BinaryFields.h"
#include "DetectorFixture.h"
#include "SnrFiles.h"
#include "reference/quality/PlainSnr.h"

#include <QxSysMgt.h>
#include <QxUtils/Quality.h>

#include <climits>
#include <cstdio>
#include <ctime>
#include <limits>
#include <numeric>

namespace {

using namespace qx::test;
namespace fs = std::filesystem;

constexpr int kWidth = 320;
constexpr int kHeight = 288;
constexpr int kType = 7;

class FactorySnrFixture : public DetectorFixture {
protected:
    void expectLog(const std::string& expected) const { EXPECT_EQ(splitLines(expected), takeLog()); }
    void expectList(const std::vector<int>& times, const std::vector<FactorySNRRecord>& records) const {
        EXPECT_EQ(times, list_.integrationTimes);
        ASSERT_EQ(records.size(), list_.records.size());
        EXPECT_EQ(snrPayload({}, records), snrPayload({}, list_.records));
    }

    FactoryDiffIntSNRList list_;
};

class LoadAllSnrFromFactory : public FactorySnrFixture {
protected:
    const std::string dir_ = kitDirectory(folder().path());

    int load(const std::string& name) { return loadAllSNRFromFactory(dir_.c_str(), name.c_str(), list_, kType); }
    int loadBytes(const std::string& bytes) {
        writeFile(folder() / "snr.raw", bytes);
        return load("snr.raw");
    }
    int loadPayload(const std::string& payload) { return loadBytes(randomBytes(65536, 1) + payload); }
};

const std::vector<FactorySNRRecord> kRecords = {
    {500, 3, 1000.5f, {1.0f, 2.0f, 3.5f}},
    {300, 3, 2000.25f, {4.0f, std::numeric_limits<float>::infinity(), -0.0f}},
    {500, -9, std::numeric_limits<float>::quiet_NaN(), {7.0f, 8.0f, 9.0f}},
    {-1, INT_MAX, 0.0f, {0.0f, 0.0f, 0.0f}}};
const SnrFileFields kFields = {2, 2, 3, kType};
const std::string kOpening = "<loadAllSNRFromFactory> begins\nreadImageFromDisk success\n";

// Each time is listed once, in the order of the file; the list grows.
TEST_F(LoadAllSnrFromFactory, appends_every_record) {
    const std::string push = "push inte time %d\n";
    const std::string end = "<loadAllSNRFromFactory> terminates0\n";
    EXPECT_EQ(0, loadPayload(snrPayload(kFields, kRecords)));
    expectList({500, 300, -1}, kRecords);
    const std::vector<FactorySNRRecord> more = {{300, 0, 1.0f, {}}, {9, 0, 2.0f, {}}};
    EXPECT_EQ(0, loadPayload(snrPayload({1, 2, 0, kType}, more)));
    std::vector<FactorySNRRecord> records = kRecords;
    records.insert(records.end(), more.begin(), more.end());
    expectList({500, 300, -1, 9}, records);
    expectLog(kOpening + "snrLen=3, oneImgSNRSize=24, dose=2, inteNum=2, detectorType=7\n" + push + push + push + end +
              kOpening + "snrLen=0, oneImgSNRSize=12, dose=2, inteNum=1, detectorType=7\n" + push + end);
}

// As many times as records, where comparing each with each would exceed the limit.
TEST_F(LoadAllSnrFromFactory, many_times_take_no_longer_than_few) {
    constexpr int kCount = 400000;
    detector().config.loggingEnabled = 0;
    std::vector<FactorySNRRecord> records;
    std::vector<int> times;
    for (int i = 0; i < kCount; ++i) {
        times.push_back(kCount - i);
        records.push_back({times.back(), 0, 1.0f, {}});
    }
    const std::clock_t start = std::clock();
    EXPECT_EQ(0, loadPayload(snrPayload({1, kCount, 0, kType}, records)));
    EXPECT_GT(10.0, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    expectList(times, records);
}

TEST_F(LoadAllSnrFromFactory, nothing_to_load_and_another_detector_type) {
    EXPECT_EQ(0, loadPayload(snrPayload({0, 5, 3, kType}, {})));
    EXPECT_EQ(1020, loadPayload(snrPayload({2, 2, 3, -8}, kRecords)));
    expectLog(kOpening + "snrLen=3, oneImgSNRSize=24, dose=5, inteNum=0, detectorType=7\n" + kOpening +
              "snrLen=3, oneImgSNRSize=24, dose=2, inteNum=2, detectorType=-8\n"
              "input detector type 7, while the detector type in snr header is -81020\n");
    for (const auto& [times, dose] : {std::pair{5, 0}, {0, 0}, {-1, 5}, {5, -1}, {INT_MIN, INT_MAX}})
        EXPECT_EQ(0, loadPayload(snrPayload({times, dose, 3, kType}, {}) + "rest"));
    expectList({}, {});
}

TEST_F(LoadAllSnrFromFactory, missing_or_empty_file) {
    fs::create_directory(folder() / "folder");
    writeFile(folder() / "empty", "");
    std::string log;
    for (const std::string& name :
         {std::string("none"), std::string("folder"), std::string("empty"), std::string(300, 'n')}) {
        EXPECT_EQ(1040, load(name));
        log += "<loadAllSNRFromFactory> begins\nfactory SNR data doesn't exist.\n\n";
    }
    expectLog(log);
    EXPECT_EQ(1057, loadAllSNRFromFactory(nullptr, "empty", list_, kType));
    EXPECT_EQ(1057, loadAllSNRFromFactory(dir_.c_str(), nullptr, list_, kType));
}

TEST_F(LoadAllSnrFromFactory, files_of_another_length_than_they_tell) {
    setLogLevel(4);
    list_ = {{1}, {{1, 1, 1.0f, {1.0f}}}};
    const std::string payload = snrPayload(kFields, kRecords);
    for (std::size_t size = 0; size < payload.size(); ++size)
        EXPECT_EQ(1040, loadPayload(payload.substr(0, size))) << size;
    EXPECT_EQ(1040, loadPayload(payload + '\0'));
    EXPECT_EQ(1040, loadPayload(payload + std::string(24, '\0')));
    for (const std::size_t size : {1u, 12u, 65535u})
        EXPECT_EQ(1040, loadBytes(std::string(size, '\0')));
    // Some products leave 32 bits.
    constexpr int kMost = INT_MAX;
    constexpr int kWide = 0x10000;
    const int lies[][3] = {{1, 2, 3},           {2, 3, 3},
                           {2, 2, 2},           {2, 2, 4},
                           {2, 2, 0},           {2, 2, -1},
                           {2, 2, -3},          {2, 2, -4},
                           {-2, -2, 3},         {2, 2, kMost},
                           {2, 2, ~kMost},      {2, 2, 1 << 30},
                           {kWide, kWide, 3},   {kMost, kMost, kMost},
                           {~kMost, ~kMost, 3}, {kMost, 1, -3}};
    for (const auto& [times, dose, length] : lies)
        EXPECT_EQ(1040, loadPayload(snrPayload({times, dose, length, kType}, kRecords))) << times << ", " << length;
    expectList({1}, {{1, 1, 1.0f, {1.0f}}});
}

#ifdef __linux__
// The file takes no space; its length has 33 bits.
TEST_F(LoadAllSnrFromFactory, file_beyond_four_gigabytes_is_not_taken_for_a_small_one) {
    writeFile(folder() / "snr.raw", std::string(65536, '\0') + snrPayload({1, 1, 3, kType}, {}));
    fs::resize_file(folder() / "snr.raw", (std::uintmax_t{1} << 32) + 100);
    EXPECT_NE(0, loadAllSNRFromFactory(dir_.c_str(), "snr.raw", list_, 0));
}
#endif

class RetrieveAllSnrForQualityCheck : public FactorySnrFixture {
protected:
    RetrieveAllSnrForQualityCheck() {
        detector().width = kWidth;
        detector().height = kHeight;
        detector().description = "Panel Halbrook4343 x";
        fs::create_directory(root());
    }

    fs::path root() const { return folder() / "100%s"; }
    std::string dir() const { return kitDirectory(root().string()); }
    fs::path resultFile() const { return root() / "4343 x-SNR.raw"; }

    // Stores an image of a directory and returns what its record should be.
    FactorySNRRecord place(const std::string& directory, const std::string& name, float time,
                           std::uint64_t seed) const {
        const TestImage image = flatImage(kWidth, kHeight, 3000.0 + 1000.0 * static_cast<double>(seed), 25, seed);
        fs::create_directories(root() / directory);
        writeFile(root() / directory / name, imageFile(image, time));
        const double sum = std::accumulate(image.pixels.begin(), image.pixels.end(), 0.0);
        return {static_cast<int>(time), 3, static_cast<float>(sum / (kWidth * kHeight)),
                qx::plain::snrSeries(image.data(), kWidth, kHeight)};
    }

    int retrieve(const std::string& directory) {
        int status = -1;
        printed_ = printedBy([&] { status = retrieveAllSNRForQualityCheck(kType, directory.c_str()); });
        return status;
    }
    int retrieve() { return retrieve(dir()); }

    // What is logged of an image that is measured, `mismatch` among it, and of one that is not.
    static std::string measured(const std::string& mismatch = "") {
        return kImage + mismatch +
               "Calib  | I | <SNRcalc> begins\nCalib  | I | <SNRcalc> terminates0\n"
               "<retrieveSNRFromImage> terminates0\n";
    }
    std::string failed(const std::string& name, int status) const {
        return "<retrieveSNRFromImage> terminates" + std::to_string(status) + "\nfail to retrieve SNR from file " +
               dir() + "500ms\\" + name + ".\n\n";
    }

    // The file as it should be: the kit's header with three fields set by the library.
    static std::string expectedFile(int times, int dose, const std::vector<FactorySNRRecord>& records) {
        std::string header(65536, '\0');
        fillImgHead(header.data(), 17, 1);
        putLittle(header, 12, kWidth);
        putLittle(header, 16, kHeight);
        putBig(header, 16424, kType);
        return header + snrPayload({times, dose, 3, kType}, records);
    }
    static std::string expectedConsole(const std::vector<FactorySNRRecord>& records) {
        std::string text;
        for (const FactorySNRRecord& record : records) {
            char numbers[200];
            std::snprintf(numbers, sizeof numbers, "%.1f\t%.1f\t%.1f\tsnrLen=3\n", static_cast<double>(record.snr[0]),
                          static_cast<double>(record.snr[1]), static_cast<double>(record.snr[2]));
            text += numbers;
        }
        return text;
    }

    inline static const std::string kBegin = "<retrieveAllSNRForQualityCheck> begins\n";
    inline static const std::string kImage = "<retrieveSNRFromImage> begins\ndetectorType=7, width=320, height=288\n";
    inline static const std::string kWriting = "4343 x-SNR.raw\nwidth=320, height=288, dtttype=7\n";
    inline static const std::string kDone = "<retrieveAllSNRForQualityCheck> terminates\n";

    std::string printed_;
};

// Directories and images in the order of their names; files beside and directories below are passed over.
TEST_F(RetrieveAllSnrForQualityCheck, measures_the_images_of_every_integration_time) {
    detector().integrationTimeMs = 42;
    const FactorySNRRecord d = place("500ms", "b", 500.9f, 4);
    const std::vector<FactorySNRRecord> records = {
        place("1000ms", "x.raw", 1000.0f, 1), place("1000ms", "y.raw", 1000.0f, 2), place("500ms", "a", 500.0f, 3), d};
    place("dark", "z.raw", 1.0f, 5);
    place("MS", "z.raw", 1.0f, 5);
    fs::create_directory(root() / "500ms" / "folder");
    writeFile(root() / "2ms", "a file");
    EXPECT_EQ(0, retrieve());
    EXPECT_EQ(expectedFile(2, 2, records), readFile(resultFile()));
    EXPECT_EQ(expectedConsole(records), printed_);
    expectLog(kBegin + measured() + measured() + measured() + measured() + kWriting + kDone);
    EXPECT_EQ(0, loadAllSNRFromFactory(dir().c_str(), "4343 x-SNR.raw", list_, kType));
    expectList({1000, 500}, records);
}

TEST_F(RetrieveAllSnrForQualityCheck, separator_is_added_and_the_result_replaces_an_old_one) {
    const FactorySNRRecord record = place("items", "one", 100.0f, 1);  // "100" is in the path
    writeFile(resultFile(), std::string(200000, 'x'));
    EXPECT_EQ(0, retrieve(dir().substr(0, dir().size() - 1)));
    EXPECT_EQ(expectedFile(1, 1, {record}), readFile(resultFile()));
    expectLog(kBegin + measured() + kWriting + kDone);
}

// The file's own name does not count. A header that cannot be filled stays empty but for the three fields.
TEST_F(RetrieveAllSnrForQualityCheck, time_that_the_path_does_not_name_is_an_error_line_only) {
    const FactorySNRRecord record = place("500ms", "987654", 987654.0f, 1);
    detector().faults.fillImgHead = 9;
    EXPECT_EQ(0, retrieve());
    EXPECT_EQ(expectedFile(1, 1, {record}), readFile(resultFile()));
    expectLog(kBegin +
              measured("Utils  | E | the integration time 987654 in header of image 987654 mismatch the path name " +
                       dir() + "500ms\\\n") +
              kWriting + kDone);
}

TEST_F(RetrieveAllSnrForQualityCheck, images_that_cannot_be_measured_are_left_out) {
    const FactorySNRRecord record = place("500ms", "e", 500.0f, 1);
    const std::string whole = readFile(root() / "500ms" / "e");
    std::string wide = whole;
    std::string high = whole;
    putBig(wide, 12, 300);
    putBig(high, 16, 300);
    const std::string files[] = {"", whole + 'x', whole.substr(0, whole.size() - 1), wide, high};
    for (int i = 0; i < 5; ++i)
        writeFile(root() / "500ms" / std::to_string(i), files[i]);
    EXPECT_EQ(0, retrieve());
    EXPECT_EQ(expectedFile(1, 1, {record}), readFile(resultFile()));
    EXPECT_EQ(expectedConsole({record}), printed_);
    const std::string reasons[] = {"fail to read image, size is 0\n",
                                   "fail to read image, actual size is 249857, expected size is 249856\n",
                                   "fail to read image, actual size is 249855, expected size is 249856\n",
                                   "the width and height in image header mismatch the detector type\n\n",
                                   "the width and height in image header mismatch the detector type\n\n"};
    std::string log = kBegin;
    for (int i = 0; i < 5; ++i)
        log += kImage + reasons[i] + failed(std::to_string(i), i < 3 ? 1040 : 1020);
    expectLog(log + measured() + kWriting + kDone);
}

TEST_F(RetrieveAllSnrForQualityCheck, no_directory_or_no_image) {
    place("dark", "z.raw", 1.0f, 5);
    EXPECT_EQ(1040, retrieve());
    EXPECT_EQ(1040, retrieve(dir() + "none"));
    EXPECT_EQ(1057, retrieveAllSNRForQualityCheck(kType, nullptr));
    fs::create_directory(root() / "500ms");
    EXPECT_EQ(1040, retrieve());
    const std::string nothing = kBegin + "could not find valid directory.\n\n" + kDone;
    expectLog(nothing + nothing + kBegin + "no image was measured\n" + kDone);
    EXPECT_FALSE(fs::exists(resultFile()));
}

TEST_F(RetrieveAllSnrForQualityCheck, directories_of_unequal_number_are_refused) {
    place("1ms", "0", 1.0f, 0);
    place("2ms", "0", 1.0f, 0);
    for (const char* const more : {"1ms", "2ms"}) {
        place(more, "1", 1.0f, 1);
        EXPECT_EQ(1020, retrieve());
        expectLog(kBegin + measured() + measured() + measured() + "the directories differ in their number of images\n" +
                  kDone);
        fs::remove(root() / more / "1");
    }
    // A directory of its own counts, also without images; so does one whose image is left out.
    fs::remove(root() / "2ms" / "0");
    EXPECT_EQ(1020, retrieve());
    fs::rename(root() / "2ms", root() / "0ms");
    EXPECT_EQ(1020, retrieve());
    writeFile(root() / "0ms" / "bad", "x");
    EXPECT_EQ(1020, retrieve());
    EXPECT_FALSE(fs::exists(resultFile()));
}

// Nothing is written outside the directory either, whatever the platform takes for a separator.
TEST_F(RetrieveAllSnrForQualityCheck, description_without_the_product_word_or_with_a_separator) {
    place("500ms", "one", 500.0f, 1);
    const auto entries = [this] {
        return std::distance(fs::recursive_directory_iterator(folder().path()), fs::recursive_directory_iterator{});
    };
    const auto before = entries();
    for (const char* const description : {"", "Panel 4343", "halbrook4343", "Halbroo", "Halbrook/4343",
                                          "Halbrook\\4343", "Halbrook/../x", "Halbrook..\\x", "a/b\\Halbrook/"}) {
        detector().description = description;
        EXPECT_EQ(1020, retrieve()) << description;
        const bool isNamed = detector().description.find("Halbrook") != std::string::npos;
        expectLog(kBegin + measured() + "the detector's description " +
                  (isNamed ? "holds a path separator\n" : "does not name the product\n") + kDone);
        fs::remove(logFolder());
        EXPECT_EQ(before, entries()) << description;
    }
    detector().description = "a/b\\Halbrook.1";
    EXPECT_EQ(0, retrieve());
    EXPECT_TRUE(fs::exists(root() / ".1-SNR.raw"));
    detector().description = "HalbrookHalbrook1";
    EXPECT_EQ(0, retrieve());
    EXPECT_TRUE(fs::exists(root() / "Halbrook1-SNR.raw"));
}

// A directory in the file's place; the detector's answer is passed on, and panels without a series have no image.
TEST_F(RetrieveAllSnrForQualityCheck, file_that_cannot_be_written_and_detector_that_does_not_answer) {
    place("500ms", "one", 500.0f, 1);
    fs::create_directory(resultFile());
    EXPECT_EQ(1039, retrieve());
    detector().faults.getDetectorInformation = 9;
    EXPECT_EQ(9, retrieve());
    EXPECT_EQ("", printed_);
    const std::string noAnswer = "Utils  | E | getDetectorInformation failed9\n";
    expectLog(kBegin + measured() + kWriting + "fail to write image 4343 x-SNR.raw in the directory of " + dir() +
              "\n<retrieveAllSNRForQualityCheck> terminates with return value 1039\n" + kBegin +
              "<retrieveSNRFromImage> begins\n" + noAnswer + failed("one", 9) + "no image was measured\n" + noAnswer +
              kDone);
    detector().faults.getDetectorInformation = 0;
    for (const auto& [width, height] : {std::pair{127, 400}, {400, 127}, {0, 0}, {-1, -1}, {INT_MAX, INT_MAX}}) {
        detector().width = width;
        detector().height = height;
        EXPECT_EQ(1040, retrieve());
        const std::string size = "width=" + std::to_string(width) + ", height=" + std::to_string(height);
        expectLog(kBegin + "<retrieveSNRFromImage> begins\ndetectorType=7, " + size +
                  "\nno SNR is measured of an image of this size\n" + failed("one", 1020) + "no image was measured\n" +
                  kDone);
    }
}

}  // namespace
