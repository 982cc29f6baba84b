#include "BinaryFields.h"
#include "Compare.h"
#include "DetectorFixture.h"
#include "PlainSnr.h"
#include "SnrFiles.h"

#include <QxSysMgt.h>
#include <QxUtils/Quality.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>

namespace {

using namespace qx::test;
namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

const std::string kInfo = "Utils  | I | ";
const std::string kError = "Utils  | E | ";
constexpr int kWidth = 320;
constexpr int kHeight = 288;
constexpr int kType = 7;

std::string info(const std::string& text) {
    return kInfo + text;
}

void add(Lines& lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
}

void expectRecord(const SnrFileRecord& expected, const FactorySNRRecord& actual) {
    EXPECT_EQ(expected.integrationTime, actual.integrationTime);
    EXPECT_EQ(expected.snrCount, actual.snrCount);
    EXPECT_TRUE(sameBits(expected.meanGray, actual.meanGray));
    EXPECT_TRUE(sameBitsEverywhere(expected.snr, actual.snr));
}

class LoadAllSnrFromFactory : public DetectorFixture {
protected:
    const std::string dir_ = kitDirectory(folder().path());

    int load(const std::string& name = "snr.raw") {
        return loadAllSNRFromFactory(dir_.c_str(), name.c_str(), list_, kType);
    }
    int loadBytes(const std::string& bytes) {
        writeFile(folder() / "snr.raw", bytes);
        return load();
    }
    int loadPayload(const std::string& payload) { return loadBytes(randomBytes(65536, 1) + payload); }

    void expectList(const std::vector<int>& times, const std::vector<SnrFileRecord>& records) const {
        EXPECT_EQ(times, list_.integrationTimes);
        ASSERT_EQ(records.size(), list_.records.size());
        for (std::size_t i = 0; i < records.size(); ++i)
            expectRecord(records[i], list_.records[i]);
    }

    FactoryDiffIntSNRList list_;
};

const std::vector<SnrFileRecord> kRecords = {{500, 3, 1000.5f, {1.0f, 2.0f, 3.5f}},
                                             {300, 3, 2000.25f, {4.0f, std::numeric_limits<float>::infinity(), -0.0f}},
                                             {500, -9, std::numeric_limits<float>::quiet_NaN(), {7.0f, 8.0f, 9.0f}},
                                             {-1, INT_MAX, 0.0f, {0.0f, 0.0f, 0.0f}}};
const SnrFileFields kFields = {2, 2, 3, kType};
const Lines kOpening = {info("<loadAllSNRFromFactory> begins"), info("readImageFromDisk success")};

// Each time is listed once, in the order of the file; the list grows.
TEST_F(LoadAllSnrFromFactory, appends_every_record) {
    EXPECT_EQ(0, loadPayload(snrPayload(kFields, kRecords)));
    expectList({500, 300, -1}, kRecords);
    Lines expected = kOpening;
    add(expected, {info("snrLen=3, oneImgSNRSize=24, dose=2, inteNum=2, detectorType=7"), info("push inte time %d"),
                   info("push inte time %d"), info("push inte time %d"), info("<loadAllSNRFromFactory> terminates0")});
    EXPECT_EQ(expected, logLines());
    EXPECT_EQ(0, loadPayload(snrPayload({1, 2, 0, kType}, {{300, 0, 1.0f, {}}, {9, 0, 2.0f, {}}})));
    std::vector<SnrFileRecord> records = kRecords;
    records.insert(records.end(), {{300, 0, 1.0f, {}}, {9, 0, 2.0f, {}}});
    expectList({500, 300, -1, 9}, records);
    add(expected, kOpening);
    add(expected, {info("snrLen=0, oneImgSNRSize=12, dose=2, inteNum=1, detectorType=7"), info("push inte time %d"),
                   info("<loadAllSNRFromFactory> terminates0")});
    EXPECT_EQ(expected, logLines());
}

TEST_F(LoadAllSnrFromFactory, nothing_to_load) {
    for (const auto& [times, dose] : {std::pair{0, 5}, {5, 0}, {0, 0}, {-1, 5}, {5, -1}, {INT_MIN, INT_MAX}}) {
        for (const char* const rest : {"", "rest"})
            EXPECT_EQ(0, loadPayload(snrPayload({times, dose, 3, kType}, {}) + rest));
    }
    expectList({}, {});
    Lines opening = kOpening;
    opening.push_back(info("snrLen=3, oneImgSNRSize=24, dose=5, inteNum=0, detectorType=7"));
    Lines lines = logLines();
    ASSERT_EQ(12u * 3u, lines.size());
    EXPECT_EQ(opening, Lines(lines.begin(), lines.begin() + 3));
}

TEST_F(LoadAllSnrFromFactory, other_detector_type) {
    EXPECT_EQ(1020, loadPayload(snrPayload({2, 2, 3, -8}, kRecords)));
    expectList({}, {});
    Lines expected = kOpening;
    add(expected, {info("snrLen=3, oneImgSNRSize=24, dose=2, inteNum=2, detectorType=-8"),
                   info("input detector type 7, while the detector type in snr header is -81020")});
    EXPECT_EQ(expected, logLines());
}

TEST_F(LoadAllSnrFromFactory, missing_or_empty_file) {
    fs::create_directory(folder() / "folder");
    writeFile(folder() / "empty", "");
    Lines expected;
    for (const std::string& name :
         {std::string("none"), std::string("folder"), std::string("empty"), std::string(300, 'n')}) {
        EXPECT_EQ(1040, load(name));
        add(expected, {info("<loadAllSNRFromFactory> begins"), info("factory SNR data doesn't exist."), ""});
    }
    EXPECT_EQ(expected, logLines());
    EXPECT_EQ(1057, loadAllSNRFromFactory(nullptr, "empty", list_, kType));
    EXPECT_EQ(1057, loadAllSNRFromFactory(dir_.c_str(), nullptr, list_, kType));
    expectList({}, {});
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
    const int lies[][3] = {{1, 2, 3},
                           {2, 1, 3},
                           {2, 3, 3},
                           {2, 2, 2},
                           {2, 2, 4},
                           {2, 2, 0},
                           {2, 2, -1},
                           {2, 2, -3},
                           {2, 2, -4},
                           {-2, -2, 3},
                           {2, 2, INT_MAX},
                           {2, 2, INT_MIN},
                           {2, 2, 0x40000003},
                           {0x10000, 0x10000, 3},
                           {0x40000001, 4, 3},
                           {INT_MAX, INT_MAX, INT_MAX},
                           {INT_MAX, INT_MAX, 0},
                           {INT_MIN, INT_MIN, 3},
                           {INT_MAX, 1, -3}};
    for (const auto& [times, dose, length] : lies)
        EXPECT_EQ(1040, loadPayload(snrPayload({times, dose, length, kType}, kRecords)))
            << times << ", " << dose << ", " << length;
    expectList({1}, {{1, 1, 1.0f, {1.0f}}});
}

#ifdef __linux__
// The file takes no space; its length has 33 bits.
TEST_F(LoadAllSnrFromFactory, file_beyond_four_gigabytes_is_not_taken_for_a_small_one) {
    writeFile(folder() / "snr.raw", std::string(65536, '\0') + snrPayload({1, 1, 3, kType}, {}));
    fs::resize_file(folder() / "snr.raw", (std::uintmax_t{1} << 32) + 100);
    EXPECT_NE(0, loadAllSNRFromFactory(dir_.c_str(), "snr.raw", list_, 0));
    expectList({}, {});
}
#endif

class RetrieveAllSnrForQualityCheck : public DetectorFixture {
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
    SnrFileRecord place(const std::string& directory, const std::string& name, float time, std::uint64_t seed) const {
        const TestImage image = flatImage(kWidth, kHeight, 3000.0 + 1000.0 * static_cast<double>(seed), 25, seed);
        fs::create_directories(root() / directory);
        writeFile(root() / directory / name, imageFile(image, time));
        const double sum = std::accumulate(image.pixels.begin(), image.pixels.end(), 0.0);
        return {static_cast<int>(time), 3, static_cast<float>(sum / (kWidth * kHeight)),
                qx::plain::snrSeries(image.data(), kWidth, kHeight)};
    }

    int retrieve() {
        int status = -1;
        printed_ = printedBy([&] { status = retrieveAllSNRForQualityCheck(kType, dir().c_str()); });
        return status;
    }

    // Every call opens with these lines.
    static Lines opening() {
        return {info("<retrieveSNRFromImage> begins"), info("detectorType=7, width=320, height=288")};
    }
    // Those of an image that is measured, `mismatch` among them.
    static Lines measured(const Lines& mismatch = {}) {
        Lines lines = opening();
        add(lines, mismatch);
        add(lines, {"Calib  | I | <SNRcalc> begins", "Calib  | I | <SNRcalc> terminates0",
                    info("<retrieveSNRFromImage> terminates0")});
        return lines;
    }
    Lines failed(const std::string& directory, const std::string& name) const {
        return {info("fail to retrieve SNR from file " + dir() + directory + "\\" + name + "."), ""};
    }
    static Lines writing() { return {info("4343 x-SNR.raw"), info("width=320, height=288, dtttype=7")}; }

    // The log of a call: `between` lies between its first line and the last ones.
    void expectLog(const Lines& between, const Lines& ending) const {
        Lines expected = {info("<retrieveAllSNRForQualityCheck> begins")};
        add(expected, between);
        add(expected, ending);
        EXPECT_EQ(expected, logLines());
    }

    static Lines joined(std::initializer_list<Lines> parts) {
        Lines all;
        for (const Lines& part : parts)
            add(all, part);
        return all;
    }

    // The file as it should be: the kit's header with three fields set by the library.
    static std::string expectedFile(int times, int dose, const std::vector<SnrFileRecord>& records) {
        std::string header(65536, '\0');
        fillImgHead(header.data(), 17, 1);
        putLittle(header, 12, kWidth);
        putLittle(header, 16, kHeight);
        putBig(header, 16424, kType);
        return header + snrPayload({times, dose, 3, kType}, records);
    }

    static std::string expectedConsole(const std::vector<SnrFileRecord>& records) {
        std::string text;
        for (const SnrFileRecord& record : records) {
            for (const float value : record.snr) {
                char number[64];
                std::snprintf(number, sizeof number, "%.1f\t", static_cast<double>(value));
                text += number;
            }
            text += "snrLen=3\n";
        }
        return text;
    }

    std::string printed_;
};

const Lines kDone = {info("<retrieveAllSNRForQualityCheck> terminates")};

// Directories and images in the order of their names; files beside and directories below are passed over.
TEST_F(RetrieveAllSnrForQualityCheck, measures_the_images_of_every_integration_time) {
    detector().integrationTimeMs = 42;
    const SnrFileRecord d = place("500ms", "b", 500.9f, 4);
    const std::vector<SnrFileRecord> records = {
        place("1000ms", "x.raw", 1000.0f, 1), place("1000ms", "y.raw", 1000.0f, 2), place("500ms", "a", 500.0f, 3), d};
    place("dark", "z.raw", 1.0f, 5);
    place("MS", "z.raw", 1.0f, 5);
    fs::create_directory(root() / "500ms" / "folder");
    writeFile(root() / "2ms", "a file");
    EXPECT_EQ(0, retrieve());
    EXPECT_EQ(expectedFile(2, 2, records), readFile(resultFile()));
    EXPECT_EQ(expectedConsole(records), printed_);
    expectLog(joined({measured(), measured(), measured(), measured()}), joined({writing(), kDone}));
    FactoryDiffIntSNRList list;
    EXPECT_EQ(0, loadAllSNRFromFactory(dir().c_str(), "4343 x-SNR.raw", list, kType));
    EXPECT_EQ((std::vector<int>{1000, 500}), list.integrationTimes);
    ASSERT_EQ(records.size(), list.records.size());
    for (std::size_t i = 0; i < records.size(); ++i)
        expectRecord(records[i], list.records[i]);
}

TEST_F(RetrieveAllSnrForQualityCheck, separator_is_added_and_the_result_replaces_an_old_one) {
    const SnrFileRecord record = place("items", "one", 100.0f, 1);  // "100" is in the path
    writeFile(resultFile(), std::string(200000, 'x'));
    std::string plain = dir();
    plain.pop_back();
    printedBy([&] { EXPECT_EQ(0, retrieveAllSNRForQualityCheck(kType, plain.c_str())); });
    EXPECT_EQ(expectedFile(1, 1, {record}), readFile(resultFile()));
    expectLog(measured(), joined({writing(), kDone}));
}

TEST_F(RetrieveAllSnrForQualityCheck, time_that_the_path_does_not_name_is_an_error_line_only) {
    const SnrFileRecord record = place("500ms", "one", 987654.0f, 1);
    EXPECT_EQ(0, retrieve());
    EXPECT_EQ(expectedFile(1, 1, {record}), readFile(resultFile()));
    expectLog(measured({kError + "the integration time 987654 in header of image one mismatch the path name " + dir() +
                        "500ms\\"}),
              joined({writing(), kDone}));
}

// A header that cannot be filled stays empty but for the three fields.
TEST_F(RetrieveAllSnrForQualityCheck, kit_that_fills_no_header) {
    const SnrFileRecord record = place("500ms", "one", 500.0f, 1);
    detector().faults.fillImgHead = 9;
    EXPECT_EQ(0, retrieve());
    EXPECT_EQ(expectedFile(1, 1, {record}), readFile(resultFile()));
}

TEST_F(RetrieveAllSnrForQualityCheck, images_that_cannot_be_measured_are_left_out) {
    const SnrFileRecord record = place("500ms", "e", 500.0f, 1);
    const std::string whole = readFile(root() / "500ms" / "e");
    const auto store = [&](const std::string& name, const std::string& bytes) {
        writeFile(root() / "500ms" / name, bytes);
    };
    store("a", "");
    store("b", whole + 'x');
    store("c", whole.substr(0, whole.size() - 1));
    for (const std::size_t offset : {12u, 16u}) {
        std::string other = whole;
        putBig(other, offset, 300);
        store("d" + std::to_string(offset), other);
    }
    EXPECT_EQ(0, retrieve());
    EXPECT_EQ(expectedFile(1, 1, {record}), readFile(resultFile()));
    EXPECT_EQ(expectedConsole({record}), printed_);
    Lines expected;
    const auto leftOut = [&](const std::string& name, const Lines& reason) {
        add(expected, joined({opening(), reason, failed("500ms", name)}));
    };
    const auto wrongSize = [](const std::string& size) {
        return Lines{info("fail to read image, actual size is " + size + ", expected size is 249856")};
    };
    const Lines mismatch = {info("the width and height in image header mismatch the detector type"), ""};
    leftOut("a", {info("fail to read image, size is 0")});
    leftOut("b", wrongSize("249857"));
    leftOut("c", wrongSize("249855"));
    leftOut("d12", mismatch);
    leftOut("d16", mismatch);
    expectLog(joined({expected, measured()}), joined({writing(), kDone}));
}

TEST_F(RetrieveAllSnrForQualityCheck, no_directory_or_no_image) {
    place("dark", "z.raw", 1.0f, 5);
    const Lines nothing = {info("could not find valid directory."), ""};
    EXPECT_EQ(1040, retrieve());
    expectLog({}, nothing);
    EXPECT_EQ(1040, retrieveAllSNRForQualityCheck(kType, (dir() + "none").c_str()));
    EXPECT_EQ(1057, retrieveAllSNRForQualityCheck(kType, nullptr));
    fs::remove_all(logFolder());
    fs::create_directory(root() / "500ms");
    EXPECT_EQ(1040, retrieve());
    expectLog({}, {});
    EXPECT_FALSE(fs::exists(resultFile()));
}

TEST_F(RetrieveAllSnrForQualityCheck, directories_of_unequal_number_are_refused) {
    const struct { std::vector<std::string> images; } cases[] = {{{"1ms", "1ms", "2ms"}}, {{"1ms", "2ms", "2ms"}}};
    for (const auto& c : cases) {
        fs::remove_all(root() / "1ms");
        fs::remove_all(root() / "2ms");
        for (std::size_t i = 0; i < c.images.size(); ++i)
            place(c.images[i], std::to_string(i), 1.0f, i);
        EXPECT_EQ(1020, retrieve());
    }
    // A directory of its own counts, also without images; so does one whose image is left out.
    fs::remove_all(root() / "2ms");
    fs::create_directory(root() / "2ms");
    fs::create_directory(root() / "0ms");
    EXPECT_EQ(1020, retrieve());
    fs::remove(root() / "0ms");
    EXPECT_EQ(1020, retrieve());
    writeFile(root() / "2ms" / "bad", "x");
    EXPECT_EQ(1020, retrieve());
    EXPECT_FALSE(fs::exists(resultFile()));
}

TEST_F(RetrieveAllSnrForQualityCheck, description_without_the_product_word) {
    place("500ms", "one", 500.0f, 1);
    for (const char* const description : {"", "Panel 4343", "halbrook4343", "Halbroo"}) {
        detector().description = description;
        EXPECT_EQ(1020, retrieve()) << description;
    }
    EXPECT_EQ(1, std::distance(fs::directory_iterator(root()), fs::directory_iterator{}));
    detector().description = "HalbrookHalbrook1";
    EXPECT_EQ(0, retrieve());
    EXPECT_TRUE(fs::exists(root() / "Halbrook1-SNR.raw"));
}

// A directory in the file's place.
TEST_F(RetrieveAllSnrForQualityCheck, file_that_cannot_be_written) {
    place("500ms", "one", 500.0f, 1);
    fs::create_directory(resultFile());
    EXPECT_EQ(1039, retrieve());
    expectLog(measured(), joined({writing(),
                                  {info("fail to write image 4343 x-SNR.raw in the directory of " + dir()),
                                   info("<retrieveAllSNRForQualityCheck> terminates with return value 1039")}}));
}

// The detector's answer is passed on.
TEST_F(RetrieveAllSnrForQualityCheck, detector_that_does_not_answer) {
    place("500ms", "one", 500.0f, 1);
    detector().faults.getDetectorInformation = 9;
    EXPECT_EQ(9, retrieve());
    EXPECT_EQ("", printed_);
    expectLog(joined({{info("<retrieveSNRFromImage> begins"), kError + "getDetectorInformation failed9"},
                      failed("500ms", "one")}),
              {kError + "getDetectorInformation failed9"});
    EXPECT_FALSE(fs::exists(resultFile()));
}

TEST_F(RetrieveAllSnrForQualityCheck, panels_without_a_series_have_no_image) {
    place("500ms", "one", 500.0f, 1);
    for (const auto& [width, height] : {std::pair{127, 400}, {400, 127}, {0, 0}, {-1, -1}, {INT_MAX, INT_MAX}}) {
        detector().width = width;
        detector().height = height;
        EXPECT_EQ(1040, retrieve());
    }
    EXPECT_FALSE(fs::exists(resultFile()));
}

}  // namespace
