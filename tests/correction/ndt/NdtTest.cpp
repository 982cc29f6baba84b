#include "Compare.h"
#include "DefectFiles.h"
#include "DetectorFixture.h"
#include "reference/correction/PlainNdt.h"

#include <QxUtils/Correction.h>

#include <climits>
#include <cstring>
#include <functional>
#include <limits>
#include <numeric>
#include <set>

namespace {

namespace fs = std::filesystem;
namespace plain = qx::plain;
using namespace qx::test;
using Lines = std::vector<std::string>;
using Names = std::set<std::string>;
using Longs = std::vector<std::uint32_t>;
using Words = std::vector<std::uint16_t>;
using Floats = std::vector<float>;

constexpr std::size_t kHeaderBytes = 65536;
constexpr int kNoDefects = 2;
const std::string kDarkName = "ndt-dark-aed-300ms-gain2-4f.raw";
const std::string kGainName = "ndt-linear-gain2.raw";
const std::string kFixedName = "Fixed-LINEAR-gain2.raw";

template <class Value>
std::string bytesOf(const std::vector<Value>& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(Value)};
}

// A stored calibration file. Its header is not looked at.
template <class Value>
std::string calibration(const std::vector<Value>& values) {
    return randomBytes(kHeaderBytes, 9) + bytesOf(values);
}

Longs randomPixels(std::size_t count, std::uint32_t low, std::uint32_t range, std::uint64_t seed) {
    SplitMix64 random(seed);
    Longs pixels(count);
    for (std::uint32_t& pixel : pixels)
        pixel = low + static_cast<std::uint32_t>((random.next() >> 32) * range >> 32);
    return pixels;
}

// A detector that triggers itself and delivers four frames, of 300 ms and with gain 2; no defect correction.
class Ndt : public DetectorFixture {
protected:
    Ndt() {
        EXPECT_EQ("", qxkit::setDirectories(folder().path()));
        detector().syncMode = 3;
        detector().ndtFrameCount = 4;
        detector().registers.exposureTimeMs = 299.6f;
        detector().config.defectCorrectionMethod = kNoDefects;
        qxkit::setGainId(2);
        setMode(4, 1);
    }

    static void setMode(int width, int height) {
        detector().modeWidth = width;
        detector().modeHeight = height;
    }

    fs::path file(const char* directory, const std::string& name) const {
        return fs::path(folder() / directory) / name;
    }

    // "directory/name" of every file but logs.
    Names files() const {
        Names names;
        for (const char* directory : {"offset", "gain", "defect", "temperature"}) {
            for (const auto& entry : fs::directory_iterator(folder() / directory))
                names.insert(directory + std::string("/") + entry.path().filename().string());
        }
        return names;
    }

    // The gains that the calibration stores.
    Words gains(const Longs& bright, const Longs& dark) const {
        EXPECT_EQ(0, executeNDTCAL(bright.data(), dark.data(), static_cast<int>(bright.size())));
        const std::string bytes = readFile(file("gain", kGainName)).substr(kHeaderBytes);
        Words values(bytes.size() / sizeof(std::uint16_t));
        std::memcpy(values.data(), bytes.data(), bytes.size());
        return values;
    }
};

using ExecuteNdtCal = Ndt;

TEST_F(ExecuteNdtCal, writes_the_dark_image_and_gains_of_mean_10000_behind_their_headers) {
    const Longs dark = {100, 0, 70000, 4000000000, 100}, bright = {1100, 2000, 73000, 3999999000, 4100};
    const auto header = [](int kind) {
        std::string bytes(kHeaderBytes, '\0');
        EXPECT_EQ(0, fillImgHead(bytes.data(), kind, 1));
        return bytes;
    };
    EXPECT_EQ(0, executeNDTCAL(bright.data(), dark.data(), 5));
    EXPECT_TRUE(header(18) + bytesOf(dark) == readFile(file("offset", kDarkName)));
    EXPECT_TRUE(header(19) + bytesOf(Words{5000, 10000, 15000, 0, 20000}) == readFile(file("gain", kGainName)));
    EXPECT_EQ((Names{"offset/" + kDarkName, "gain/" + kGainName}), files());
    EXPECT_EQ(Lines{}, takeLog());
}

TEST_F(ExecuteNdtCal, names_and_number_of_files_follow_the_detector) {
    const Longs image(4, 5);
    const std::string dark = "offset/ndt-dark-aed-1000ms-gain7-2f.raw", gain = "gain/ndt-linear-gain7.raw";
    detector().registers.exposureTimeMs = 1000.4f;
    qxkit::setGainId(7);
    for (const auto& [syncMode, frames] : {std::pair{2, 4}, {3, 1}, {3, 0}, {3, 2}}) {
        detector().syncMode = syncMode;
        detector().ndtFrameCount = frames;
        EXPECT_EQ(0, executeNDTCAL(nullptr, image.data(), 4));
        EXPECT_EQ(frames == 2 ? Names{dark} : Names{}, files());
        EXPECT_EQ(0, executeNDTCAL(image.data(), image.data(), 4));
        EXPECT_EQ(frames == 2 ? (Names{dark, gain}) : Names{gain}, files());
        fs::remove(folder() / gain);
    }
    EXPECT_EQ(Lines{}, takeLog());
}

TEST_F(ExecuteNdtCal, agrees_with_the_plain_method) {
    const auto expectAgreement = [&](const Longs& bright, const Longs& dark) {
        const int n = static_cast<int>(bright.size());
        Words expected(bright.size());
        plain::ndtGains(expected.data(), bright.data(), dark.data(), n,
                        plain::ndtGainScale(bright.data(), dark.data(), n));
        EXPECT_TRUE(sameBitsEverywhere(expected, gains(bright, dark))) << n;
    };
    for (const std::size_t count : {1u, 2u, 33u, 4099u}) {
        expectAgreement(randomPixels(count, 400000, 30000, 1), randomPixels(count, 5000, 500, 2));
        expectAgreement(randomPixels(count, 0, UINT_MAX, 3), randomPixels(count, 0, UINT_MAX, 4));
        expectAgreement(randomPixels(count, 0, 40, 5), randomPixels(count, 0, 40, 6));
        expectAgreement(Longs(count, 7), Longs(count, 7));
    }
    // A sum that not every order gives.
    expectAgreement(Longs(2'200'000, UINT_MAX), Longs(2'200'000));
    // Gains of 2^24 show the last bit of the mean.
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        Longs bright(1600, 0);
        bright[3] = randomPixels(1, 1000, 100000, seed)[0];
        expectAgreement(bright, Longs(1600, 0));
    }
}

TEST_F(ExecuteNdtCal, gains_have_a_mean_of_10000_and_lose_what_16_bits_do_not_hold) {
    const Words values = gains(randomPixels(5000, 30000, 30000, 2), randomPixels(5000, 600, 200, 1));
    EXPECT_NEAR(9999.5, std::accumulate(values.begin(), values.end(), 0.0) / 5000, 0.1);
    // One bright pixel among n has a gain of n times 10000: its low 16 bits, none from 2^31 on.
    for (const auto& [count, gain] : {std::pair{6u, 60000}, {7u, 4464}, {200000u, 2000000000 % 65536}, {300000u, 0}}) {
        Longs image(count, 0);
        image[3] = 10000u * count;
        Words expected(count, 0);
        expected[3] = static_cast<std::uint16_t>(gain);
        EXPECT_TRUE(sameBitsEverywhere(expected, gains(image, Longs(count, 0)))) << count;
    }
}

TEST_F(ExecuteNdtCal, a_file_that_cannot_be_written_is_logged_with_its_line) {
    const Longs image(4, 5);
    const auto expectFailure = [&](int status, const char* line) {
        EXPECT_EQ(status, executeNDTCAL(image.data(), image.data(), 4));
        EXPECT_EQ((Lines{"Utils  | E | <writeImageToDisk> errors out with a return value " + std::to_string(status),
                         std::string("Utils  | E | Error occur in Utilities,line ") + line}),
                  takeLog());
    };
    fs::create_directory(file("gain", kGainName));
    expectFailure(1039, "563");
    EXPECT_EQ(kHeaderBytes + 16, readFile(file("offset", kDarkName)).size());
    // Without a dark image there are no gains.
    fs::remove(file("gain", kGainName));
    fs::remove(file("offset", kDarkName));
    fs::create_directory(file("offset", kDarkName));
    expectFailure(1039, "509");
    EXPECT_FALSE(fs::exists(file("gain", kGainName)));
#ifndef _WIN32
    fs::remove(file("offset", kDarkName));
    fs::create_symlink("/dev/full", file("offset", kDarkName));
    expectFailure(1041, "509");
#endif
}

// Lines of the log.
const std::string kDarkFailed = "Corr   | I | Load offset image of NDT mode fail!";
const std::string kDarkLoaded = "Corr   | I | Load offset calibration file for NDT mode successfully.";
const std::string kDarkDownload = "Corr   | E | Download offset file from detector";
const std::string kGainLoaded = "Corr   | I | Load gain calibration file for NDT mode successfully.";
const std::string kGainDownload = "Corr   | E | Download gain file from detector";
const std::string kFixedLoaded = "Corr   | E | Read gain image \"" + kFixedName + "\" from disk succeeded!";
const std::string kCorrected = "Corr   | I | Do offset and gain correction successfully.";
const std::string kNewMethod = "Corr   | I | new defect method.";
const std::string kDefectsCorrected = "Corr   | I | Correct defects successfully.";

class CorrectNdtImage : public Ndt {
protected:
    template <class Value>
    void store(const char* directory, const std::string& name, const std::vector<Value>& values) const {
        writeFile(file(directory, name), calibration(values));
    }
    static void useFixedGain(std::uint32_t flag = 1) { detector().config.fixedLinearGainEnabled = flag; }

    static std::string darkPath() { return "Corr   | E | " + detector().offsetDirectory + kDarkName; }
    static std::string gainPath() { return "Corr   | E | " + detector().gainDirectory + kGainName; }
    static Lines begin() { return {gainPath(), kGainLoaded, kCorrected}; }

    static int correct(Longs& image, const Longs* dark) {
        return correctNDTImage(image.data(), dark != nullptr ? dark->data() : nullptr, static_cast<int>(image.size()));
    }

    // Corrects an image by either of the gains below. A failed operation leaves it as it is.
    void expectCorrection(const Longs* dark, const Lines& lines, int status = 0) {
        Longs image = raw_;
        EXPECT_EQ(status, correct(image, dark));
        EXPECT_EQ(status == 0 ? corrected_ : raw_, image);
        EXPECT_EQ(lines, takeLog());
    }

    // What the console tells while debugging of reading so many bytes of a file.
    static std::string readingTold(const std::string& path, std::size_t bytes) {
        return "Full path: " + path + " \n fread return count=" + std::to_string(bytes) + "\n";
    }

    // What is no file is not downloaded; files of another length give 1040. The length of a dark image is asked for
    // ahead of its reading.
    void expectRefusals(const char* directory, const std::string& name, const std::string& whole, const Longs* dark,
                        const std::function<Lines(int)>& lines) {
        fs::create_directory(file(directory, name));
        expectCorrection(dark, lines(1039), 1039);
        fs::remove(file(directory, name));
        const std::string path = (dark == nullptr ? detector().offsetDirectory : detector().gainDirectory) + name;
        const std::string asked = dark == nullptr ? "Full path: " + path + " \n" : "";
        for (const std::string& content : {std::string(), whole.substr(0, whole.size() - 1), whole + "x"}) {
            writeFile(file(directory, name), content);
            setDebug(1);
            EXPECT_EQ(asked + readingTold(path, std::min(content.size(), whole.size())) + "Read file error!\n",
                      printedBy([&] { expectCorrection(dark, lines(1040), 1040); }));
            setDebug(0);
        }
#ifdef __linux__
        // The file takes no space; the low 32 bits of its length are right.
        fs::resize_file(file(directory, name), (std::uintmax_t{1} << 32) + whole.size());
        expectCorrection(dark, lines(1040), 1040);
#endif
        EXPECT_TRUE(detector().transfers.empty());
    }

    template <class Gain>
    void expectResults(const Longs& expected, Longs image, const Longs& dark, const std::string& name,
                       const std::vector<Gain>& gains, const Lines& lines) {
        store("gain", name, gains);
        EXPECT_EQ(0, correct(image, &dark));
        EXPECT_EQ(expected, image);
        EXPECT_EQ(lines, takeLog());
    }

    const Longs raw_ = {1100, 2200, 3300, 4400}, dark_ = {100, 200, 300, 400}, corrected_ = {2000, 2000, 1500, 4000};
    const Floats fixedGains_ = {2.0f, 1.0f, 0.5f, 1.0f};
    const Words gains_ = {5000, 10000, 20000, 0};
};

// 1.5 loses its fraction, nothing is below 0, a gain of 0 leaves the difference, 6e9 and the last pixel, which becomes
// 2^32 in single precision, lose 2^32.
TEST_F(CorrectNdtImage, ndt_gains_divide_and_truncate) {
    expectResults({2000, 1, 0, 1200, 3000000000, 1705032704, 0}, {1100, 13, 50, 1234, 3000000000, 600000, UINT_MAX},
                  {100, 10, 60, 34, 0, 0, 0}, kGainName, Words{5000, 20000, 5000, 0, 0, 1, 0}, begin());
    EXPECT_TRUE(detector().transfers.empty());
}

// A half is added before the fraction goes: 1.5 becomes 2, 0.25 and -1.25 become 0, -10 becomes -9. What 64 bits do not
// hold is 0.
TEST_F(CorrectNdtImage, fixed_gains_multiply_and_round) {
    constexpr float kInfinity = HUGE_VALF, kNan = std::numeric_limits<float>::quiet_NaN();
    useFixedGain();
    expectResults({2000, 2, 0, 0, 1705032704, 0, 4294967287, 0, 0, 0, 0, 0},
                  {1100, 13, 11, 50, 3000000000, 20, 20, UINT_MAX, 20, 20, 10, 20},
                  {100, 10, 10, 60, 0, 10, 10, 0, 10, 10, 10, 10}, kFixedName,
                  Floats{2.0f, 0.5f, 0.25f, 3.0f, 2.0f, -0.125f, -1.0f, 1.0f, 1e30f, kInfinity, kInfinity, kNan},
                  {kFixedLoaded, kCorrected});
}

// 10000 over 8 or 16 for either pixel of a pair, wherever the image is cut into parts. Any value but 0 chooses the
// fixed gain.
TEST_F(CorrectNdtImage, every_pixel_has_its_own_gain_with_and_without_a_defect_list) {
    writeFile(file("defect", "NormalDefectInfo.cal"), std::string(kHeaderBytes, '\0'));
    for (const std::size_t count : {1u, 2u, 31u, 33u, 2047u, 2048u, 2049u, 6000u}) {
        setMode(static_cast<int>(count), 1);
        Longs image, dark, expected;
        Words gains;
        Floats fixedGains;
        for (std::uint32_t i = 0; i < count; ++i) {
            dark.push_back(1000 + i % 7);
            image.push_back(dark.back() + i);
            gains.push_back(i % 2 == 0 ? 8 : 16);
            fixedGains.push_back(i % 2 == 0 ? 1250.0f : 625.0f);
            expected.push_back(i % 2 == 0 ? 1250 * i : 625 * i);
        }
        store("gain", kGainName, gains);
        store("gain", kFixedName, fixedGains);
        for (const std::uint32_t fixedGain : {0u, 0x80000000u}) {
            useFixedGain(fixedGain);
            for (const int method : {-1, 0, kNoDefects}) {
                detector().config.defectCorrectionMethod = method;
                Longs actual = image;
                EXPECT_EQ(0, correct(actual, &dark));
                EXPECT_EQ(expected, actual) << count << " " << fixedGain << " " << method;
            }
        }
    }
}

TEST_F(CorrectNdtImage, without_a_dark_image_the_stored_one_serves_if_the_detector_stores_one) {
    store("offset", kDarkName, dark_);
    store("gain", kGainName, gains_);
    const std::string darkFile = detector().offsetDirectory + kDarkName;
    setDebug(1);
    EXPECT_EQ("Full path: " + darkFile + " \n" + readingTold(darkFile, kHeaderBytes + 16) +
                  readingTold(detector().gainDirectory + kGainName, kHeaderBytes + 8),
              printedBy([&] {
                  expectCorrection(nullptr, {kDarkLoaded, gainPath(), kGainLoaded, kCorrected});
              }));
    setDebug(0);
    for (const int syncMode : {0, 3}) {
        detector().syncMode = syncMode;
        detector().ndtFrameCount = 1;
        expectCorrection(nullptr, {"Utils  | E | The input dark image is null.0"}, 1020);
        detector().ndtFrameCount = 0;
        expectCorrection(nullptr, {}, 1057);
    }
    detector().syncMode = 2;
    detector().ndtFrameCount = 4;
    expectCorrection(nullptr, {}, 1057);
    // A given one goes before it.
    detector().syncMode = 3;
    store("offset", kDarkName, Longs(4, 0));
    expectCorrection(&dark_, begin());
}

TEST_F(CorrectNdtImage, a_downloaded_dark_image_serves_the_next_call) {
    store("gain", kGainName, gains_);
    expectCorrection(nullptr, {darkPath(), kDarkDownload}, 1077);
    detector().transfers.clear();
    writeFile(file("storage", kDarkName), calibration(dark_));
    expectCorrection(nullptr, {darkPath(), kDarkDownload, kDarkFailed}, 1039);
    expectCorrection(nullptr, {kDarkLoaded, gainPath(), kGainLoaded, kCorrected});
    ASSERT_EQ(1u, detector().transfers.size());
    const qxkit::TransferCall call = detector().transfers[0];
    EXPECT_EQ(std::tuple(0, kDarkName, 1), std::tuple(call.kind, call.fileName, call.option));
}

TEST_F(CorrectNdtImage, files_that_do_not_suit_are_refused) {
    store("gain", kGainName, gains_);
    expectRefusals("offset", kDarkName, calibration(dark_), nullptr, [&](int status) {
        return status == 1039 ? Lines{darkPath(), kDarkFailed} : Lines{kDarkFailed};
    });
    fs::remove(file("gain", kGainName));
    expectRefusals("gain", kGainName, calibration(gains_), &dark_, [&](int status) {
        return Lines{gainPath(),
                     "Utils  | E | <readImageFromDisk> errors out with a return value " + std::to_string(status),
                     "Utils  | E | Error occur in Utilities,line 676"};
    });
    useFixedGain();
    expectRefusals("gain", kFixedName, calibration(fixedGains_), &dark_,
                   [](int) { return Lines{"Corr   | E | Read gain image \"Fixed-LINEAR-gain2.raw\" failed..."}; });
}

TEST_F(CorrectNdtImage, a_missing_gain_is_downloaded_and_used_at_once) {
    for (const bool isFixed : {false, true}) {
        const std::string name = isFixed ? kFixedName : kGainName;
        useFixedGain(isFixed);
        Lines lines = isFixed ? Lines{kGainDownload} : Lines{gainPath(), kGainDownload};
        expectCorrection(&dark_, lines, 1077);
        const std::string content = isFixed ? calibration(fixedGains_) : calibration(gains_);
        writeFile(file("storage", name), content);
        lines.insert(lines.end(), {isFixed ? kFixedLoaded : kGainLoaded, kCorrected});
        expectCorrection(&dark_, lines);
        EXPECT_TRUE(content == readFile(file("gain", name)));
        const qxkit::TransferCall call = detector().transfers.back();
        EXPECT_EQ(std::tuple(1, name, 1), std::tuple(call.kind, call.fileName, call.option));
    }
    EXPECT_EQ(4u, detector().transfers.size());
}

TEST_F(CorrectNdtImage, a_failed_register_read_stands_in_the_names) {
    detector().faults.getFpgaReg = -1000;
    EXPECT_EQ(0, executeNDTCAL(raw_.data(), dark_.data(), 4));
    EXPECT_EQ((Names{"offset/ndt-dark-aed-500ms-gain-1000-4f.raw", "gain/ndt-linear-gain-1000.raw"}), files());
    store("gain", "ndt-linear-gain-1000.raw", gains_);
    store("gain", "Fixed-LINEAR-gain-1000.raw", fixedGains_);
    expectCorrection(nullptr, {kDarkLoaded, "Corr   | E | " + detector().gainDirectory + "ndt-linear-gain-1000.raw",
                               kGainLoaded, kCorrected});
    useFixedGain();
    expectCorrection(
        nullptr,
        {kDarkLoaded, "Corr   | E | Read gain image \"Fixed-LINEAR-gain-1000.raw\" from disk succeeded!", kCorrected});
}

TEST_F(CorrectNdtImage, impossible_arguments_of_it_and_the_calibration_change_nothing) {
    Longs image = raw_;
    EXPECT_EQ(1057, correctNDTImage(nullptr, dark_.data(), 4));
    EXPECT_EQ(1057, executeNDTCAL(nullptr, nullptr, 4));
    EXPECT_EQ(1057, executeNDTCAL(image.data(), nullptr, 4));
    // The last one is a pixel more than a file of 2 GiB holds.
    for (const int count : {0, -1, INT_MIN, INT_MAX, (INT_MAX - 65536) / 4 + 1}) {
        EXPECT_EQ(1020, correctNDTImage(image.data(), dark_.data(), count));
        EXPECT_EQ(1020, executeNDTCAL(image.data(), dark_.data(), count));
    }
    EXPECT_EQ(raw_, image);
    EXPECT_EQ(Names{}, files());
    EXPECT_EQ(Lines{}, takeLog());
}

TEST_F(CorrectNdtImage, levels_1_and_2_write_the_corrected_image) {
    const std::string name = "Corrected.raw";
    store("gain", kGainName, gains_);
    for (const int level : {-1, 0, 1, 2, 3}) {
        detector().config.correctedImageDumpLevel = level;
        expectCorrection(&dark_, begin());
        EXPECT_EQ(level == 1 || level == 2 ? bytesOf(corrected_) : "", readFile(file("temperature", name)));
        fs::remove(file("temperature", name));
    }
    // No harm is done when the writing fails.
    detector().config.correctedImageDumpLevel = 1;
    fs::create_directory(file("temperature", name));
    Longs image = raw_;
    EXPECT_EQ(1039, correct(image, &dark_));
    EXPECT_EQ(corrected_, image);
    EXPECT_EQ(begin(), takeLog());
    // A correction without its list leaves the image.
    detector().config.defectCorrectionMethod = 0;
    expectCorrection(&dark_, begin(), 1039);
}

template <class Group>
Group groupOf(const std::vector<DefectEntry>& entries) {
    return {{static_cast<int>(entries.size()), 77, 77}, entries};
}

// A plane of 16 x 12 pixels, none of which has a gain: what lies between good pixels on a line can be restored exactly.
class CorrectNdtDefects : public CorrectNdtImage {
protected:
    static constexpr int kWidth = 16, kHeight = 12, kPixels = kWidth * kHeight;

    // Two points, two clusters, two rows and two columns of the plane are spoilt; lists of either kind name them all.
    CorrectNdtDefects() {
        setMode(kWidth, kHeight);
        store("gain", kGainName, Words(kPixels, 0));
        for (int i = 0; i < kPixels; ++i) {
            const int x = i % kWidth, y = i / kWidth;
            plane_.push_back(static_cast<std::uint32_t>(5000 + 40 * x + 100 * y));
            const bool inCluster = (x >= 4 && x <= 5 && y >= 6 && y <= 7) || (x >= 12 && x <= 13 && y == 2);
            const bool isPoint = (x == 2 && y == 3) || (x == 13 && y == 9);
            const bool isBad = isPoint || inCluster || y == 5 || y == 10 || x == 8 || x == 10;
            spoilt_.push_back(isBad ? 1000000 : plane_.back());
        }
    }
    const ClassicDefects classic_ = {.width = kWidth,
                                     .points = {{2, 3}, {13, 9}},
                                     .lines = {{8, 0, 8, 99}, {0, 5, 99, 5}, {10, 0, 10, 99}, {0, 10, 99, 10}},
                                     .clusterWords = {4, 6, 5, 6, 4, 7, 5, 7, -1, 12, 2, 13, 2, -1}};
    const DefectInfo structured_ = {
        .points = {{2, 3, 9, 9}, {13, 9, -1, -1}},
        .clusters = {groupOf<ClusterGroup>({{4, 6, 1, 1}, {5, 6, 1, 1}, {4, 7, 1, 1}, {5, 7, 1, 1}}),
                     groupOf<ClusterGroup>({{12, 2, 1, 1}, {13, 2, 1, 1}})},
        .rows = {groupOf<LineGroup>({{0, 5, 15, 1}}), groupOf<LineGroup>({{3, 10, 15, 1}})},
        .columns = {groupOf<LineGroup>({{8, 1, 3, 3}, {10, 0, 3, 3}})}};

    void storeList(int method, const std::string& content) const {
        writeFile(file("defect", method == 0 ? "NormalDefectInfo.cal" : "NormalStructurizedDefect.cal"), content);
    }

    // What correctNDTImage makes of an image.
    Longs corrected(Longs image, int method, int status = 0) {
        detector().config.defectCorrectionMethod = method;
        const Longs none(image.size(), 0);
        EXPECT_EQ(status, correct(image, &none));
        return image;
    }
    void expectSpoilt(int method, int status, const Lines& lines) {
        EXPECT_EQ(spoilt_, corrected(spoilt_, method, status));
        EXPECT_EQ(lines, takeLog());
    }

    Longs plane_, spoilt_;
};

// Between 1000.9 and 1001.9.
TEST_F(CorrectNdtDefects, results_are_interpolated_before_they_are_truncated) {
    setMode(3, 1);
    useFixedGain();
    store("gain", kFixedName, Floats(3, 0.1f));
    storeList(0, classicFile({.width = 3, .points = {{1, 0}}, .lines = {}, .clusterWords = {}}));
    EXPECT_EQ((Longs{1000, 1001, 1001}), corrected({10004, 99999, 10014}, 0));
    EXPECT_EQ((Lines{kFixedLoaded, kCorrected, kDefectsCorrected}), takeLog());
}

TEST_F(CorrectNdtDefects, entries_beyond_the_image_do_no_harm) {
    const std::vector<DefectEntry> outside = {{0, kHeight, 0, 0}, {kWidth, 0, 0, 0},        {0, -1, 0, 0},
                                              {-1, 1, 0, 0},      {INT_MIN, INT_MIN, 0, 0}, {INT_MAX, INT_MAX, 0, 0}};
    DefectInfo structured = structured_;
    structured.points.insert(structured.points.begin(), outside.begin(), outside.end());
    structured.clusters.insert(structured.clusters.begin() + 1, {groupOf<ClusterGroup>(outside), {}});
    structured.rows.push_back(groupOf<LineGroup>({{0, -1, 0, 0}, {0, kHeight, 0, 0}, {0, INT_MIN, 0, 0}}));
    structured.columns.push_back(groupOf<LineGroup>({{-1, 0, 0, 0}, {kWidth, 0, 0, 0}, {INT_MAX, 0, 0, 0}}));
    storeList(1, structuredFile(structured));
    EXPECT_EQ(plane_, corrected(spoilt_, 1));
    ClassicDefects classic = classic_;
    classic.points.insert(classic.points.end(), {{0, 32767}, {-1, -1}});
    classic.lines.insert(classic.lines.end(), {{-2, 0, -2, 0}, {kWidth, 0, kWidth, 9}, {0, kHeight, 9, kHeight}});
    storeList(0, classicFile(classic));
    EXPECT_EQ(plane_, corrected(spoilt_, 0));
}

TEST_F(CorrectNdtDefects, unreadable_lists_leave_the_image_and_other_methods_need_none) {
    for (const int method : {-1, 2, 256})
        expectSpoilt(method, 0, begin());
    detector().config.correctedImageDumpLevel = 1;
    for (const int method : {0, 1}) {
        const Lines lines = method == 0 ? begin() : Lines{gainPath(), kGainLoaded, kCorrected, kNewMethod};
        expectSpoilt(method, 1039, lines);
        storeList(method, (method == 0 ? classicFile(classic_) : structuredFile(structured_)).substr(0, 65541));
        expectSpoilt(method, 1040, lines);
    }
    EXPECT_FALSE(fs::exists(file("temperature", "Corrected.raw")));
}

TEST_F(CorrectNdtDefects, the_mode_tells_the_shape_of_the_image) {
    storeList(0, classicFile(classic_));
    detector().faults.getModeInfo = 1234;
    expectSpoilt(0, 1234, begin());
    expectSpoilt(kNoDefects, 0, begin());
    detector().faults.getModeInfo = 0;
    for (const auto& [width, height] : {std::pair{kWidth, kHeight + 1}, {0, 5}, {-16, -12}, {65536, 65536}}) {
        setMode(width, height);
        expectSpoilt(0, 1020, begin());
    }
    // Pixels behind the mode's image have no defects.
    setMode(kWidth, 8);
    Longs expected = plane_;
    std::copy(spoilt_.begin() + 8 * kWidth, spoilt_.end(), expected.begin() + 8 * kWidth);
    EXPECT_EQ(expected, corrected(spoilt_, 0));
}

TEST_F(CorrectNdtDefects, all_steps_tell_their_course_in_order) {
    store("offset", kDarkName, Longs(kPixels, 7));
    storeList(1, structuredFile(structured_));
    detector().config.defectCorrectionMethod = 1;
    detector().config.correctedImageDumpLevel = 2;
    Longs image = spoilt_;
    for (std::uint32_t& pixel : image)
        pixel += 7;
    EXPECT_EQ(0, correct(image, nullptr));
    EXPECT_EQ(plane_, image);
    EXPECT_TRUE(bytesOf(plane_) == readFile(file("temperature", "Corrected.raw")));
    EXPECT_EQ((Lines{kDarkLoaded, gainPath(), kGainLoaded, kCorrected, kNewMethod,
                     "Corr   | I | Load defect information successfully.", "Corr   | I | whatever successfully.",
                     kDefectsCorrected}),
              takeLog());
}

}  // namespace
