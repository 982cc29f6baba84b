#include "Compare.h"
#include "DefectFiles.h"
#include "DetectorFixture.h"
#include "PlainNdt.h"

#include <QxUtils/Correction.h>
#include <VirtualPanel.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <numeric>
#include <set>

namespace {

namespace plain = qx::plain;
using namespace qx::test;
using Lines = std::vector<std::string>;
using Longs = std::vector<std::uint32_t>;
using Words = std::vector<std::uint16_t>;
using Floats = std::vector<float>;

constexpr std::size_t kHeaderBytes = 65536;
constexpr int kNoDefects = 2;

// The last one is a pixel more than a file of 2 GiB holds.
constexpr int kImpossibleCounts[] = {0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(),
                                     (2147483647 - 65536) / 4 + 1};

const char* const kDarkName = "ndt-dark-aed-300ms-gain2-4f.raw";
const char* const kGainName = "ndt-linear-gain2.raw";
const char* const kFixedName = "Fixed-LINEAR-gain2.raw";

template <class Value>
std::string bytesOf(const std::vector<Value>& values) {
    std::string bytes(values.size() * sizeof(Value), '\0');
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

// A stored calibration file. Its header is not looked at.
template <class Value>
std::string calibration(const std::vector<Value>& values) {
    return randomBytes(kHeaderBytes, 9) + bytesOf(values);
}

Longs randomPixels(std::size_t count, std::uint32_t low, std::uint32_t range, std::uint64_t seed) {
    SplitMix64 random(seed);
    Longs pixels(count);
    std::generate(pixels.begin(), pixels.end(),
                  [&] { return low + static_cast<std::uint32_t>((random.next() >> 32) * range >> 32); });
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

    std::filesystem::path file(const char* directory, const std::string& name) const {
        return std::filesystem::path(folder() / directory) / name;
    }

    // "directory/name" of every file but logs.
    std::set<std::string> files() const {
        std::set<std::string> names;
        for (const char* directory : {"offset", "gain", "defect", "temperature"}) {
            for (const auto& entry : std::filesystem::directory_iterator(folder() / directory))
                names.insert(directory + std::string("/") + entry.path().filename().string());
        }
        return names;
    }

    // "module severity text" of what was logged since the last call.
    Lines takeLog() const {
        Lines lines = logLines();
        for (std::string& line : lines)
            line = line.substr(0, line.find(' ')) + line.substr(8, 2) + line.substr(12);
        for (const auto& log : logFiles())
            std::filesystem::remove(log);
        return lines;
    }
};

class ExecuteNdtCal : public Ndt {
protected:
    static std::string header(int kind) {
        std::string bytes(kHeaderBytes, '\0');
        EXPECT_EQ(0, fillImgHead(bytes.data(), kind, 1));
        return bytes;
    }
    Words gains() const {
        const std::string content = readFile(file("gain", kGainName));
        Words values((content.size() - std::min(content.size(), kHeaderBytes)) / sizeof(std::uint16_t));
        std::memcpy(values.data(), content.data() + kHeaderBytes, values.size() * sizeof(std::uint16_t));
        return values;
    }
};

TEST_F(ExecuteNdtCal, writes_the_dark_image_and_gains_of_mean_10000_behind_their_headers) {
    setMode(5, 1);
    const Longs dark = {100, 0, 70000, 4000000000, 100};
    const Longs bright = {1100, 2000, 73000, 3999999000, 4100};
    EXPECT_EQ(0, executeNDTCAL(bright.data(), dark.data(), 5));
    EXPECT_TRUE(header(18) + bytesOf(dark) == readFile(file("offset", kDarkName)));
    EXPECT_TRUE(header(19) + bytesOf(Words{5000, 10000, 15000, 0, 20000}) == readFile(file("gain", kGainName)));
    EXPECT_EQ((std::set<std::string>{std::string("offset/") + kDarkName, std::string("gain/") + kGainName}), files());
    EXPECT_EQ(Lines{}, takeLog());
}

TEST_F(ExecuteNdtCal, names_and_number_of_files_follow_the_detector) {
    const Longs image = {5, 5, 5, 5};
    const struct {
        int syncMode, frames, gainId, registerFault;
        float exposureTimeMs;
        std::set<std::string> dark, gain;
    } cases[] = {
        {3, 2, 7, 0, 1000.4f, {"offset/ndt-dark-aed-1000ms-gain7-2f.raw"}, {"gain/ndt-linear-gain7.raw"}},
        {3, 12, 0, 0, 0.0f, {"offset/ndt-dark-aed-0ms-gain0-12f.raw"}, {"gain/ndt-linear-gain0.raw"}},
        {3, 1, 1, 0, 300.0f, {}, {"gain/ndt-linear-gain1.raw"}},
        {3, 0, 1, 0, 300.0f, {}, {"gain/ndt-linear-gain1.raw"}},
        {2, 4, 1, 0, 300.0f, {}, {"gain/ndt-linear-gain1.raw"}},
        // The status of a failed read stands for the gain.
        {3, 4, 1, 17, 300.0f, {"offset/ndt-dark-aed-500ms-gain17-4f.raw"}, {"gain/ndt-linear-gain17.raw"}},
        {3, 4, 1, -1000, 300.0f, {"offset/ndt-dark-aed-500ms-gain-1000-4f.raw"}, {"gain/ndt-linear-gain-1000.raw"}},
    };
    for (const auto& c : cases) {
        detector().syncMode = c.syncMode;
        detector().ndtFrameCount = c.frames;
        detector().registers.exposureTimeMs = c.exposureTimeMs;
        detector().faults.getFpgaReg = c.registerFault;
        qxkit::setGainId(c.gainId);
        EXPECT_EQ(0, executeNDTCAL(nullptr, image.data(), 4));
        EXPECT_EQ(c.dark, files());
        EXPECT_EQ(0, executeNDTCAL(image.data(), image.data(), 4));
        std::set<std::string> both = c.dark;
        both.insert(c.gain.begin(), c.gain.end());
        EXPECT_EQ(both, files());
        for (const std::string& name : both)
            std::filesystem::remove(folder() / name);
    }
    EXPECT_EQ(Lines{}, takeLog());
}

TEST_F(ExecuteNdtCal, agrees_with_the_plain_method) {
    const auto expectAgreement = [&](const Longs& bright, const Longs& dark) {
        const int n = static_cast<int>(bright.size());
        Words expected(bright.size());
        plain::ndtGains(expected.data(), bright.data(), dark.data(), n,
                        plain::ndtGainScale(bright.data(), dark.data(), n));
        EXPECT_EQ(0, executeNDTCAL(bright.data(), dark.data(), n));
        EXPECT_TRUE(sameBitsEverywhere(expected, gains())) << n;
    };
    for (const std::size_t count : {1u, 2u, 15u, 31u, 32u, 33u, 64u, 100u, 4099u}) {
        expectAgreement(randomPixels(count, 400000, 30000, 1), randomPixels(count, 5000, 500, 2));
        expectAgreement(randomPixels(count, 0, 4294967295u, 3), randomPixels(count, 0, 4294967295u, 4));
        expectAgreement(randomPixels(count, 0, 40, 5), randomPixels(count, 0, 40, 6));
        expectAgreement(Longs(count, 7), Longs(count, 7));
    }
    // Gains of 2^24 show the last bit of the mean.
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        Longs bright(1600, 0);
        bright[3] = randomPixels(1, 1000, 100000, seed)[0];
        expectAgreement(bright, Longs(1600, 0));
    }
}

TEST_F(ExecuteNdtCal, gains_have_a_mean_of_10000_and_lose_what_16_bits_do_not_hold) {
    const Longs dark = randomPixels(5000, 600, 200, 1);
    const Longs bright = randomPixels(5000, 30000, 30000, 2);
    EXPECT_EQ(0, executeNDTCAL(bright.data(), dark.data(), 5000));
    const Words values = gains();
    EXPECT_NEAR(9999.5, std::accumulate(values.begin(), values.end(), 0.0) / 5000, 0.1);
    // One bright pixel among n has a gain of n times 10000: its low 16 bits, none from 2^31 on.
    for (const auto& [count, gain] :
         {std::pair{6, 60000}, {7, 70000 - 65536}, {200000, 2000000000 % 65536}, {300000, 0}}) {
        Longs image(static_cast<std::size_t>(count), 0);
        const Longs none = image;
        image[3] = 10000u * static_cast<std::uint32_t>(count);
        Words expected(image.size(), 0);
        expected[3] = static_cast<std::uint16_t>(gain);
        EXPECT_EQ(0, executeNDTCAL(image.data(), none.data(), count));
        EXPECT_TRUE(sameBitsEverywhere(expected, gains())) << count;
    }
}

TEST_F(ExecuteNdtCal, impossible_arguments_make_no_file) {
    const Longs image(4, 5);
    EXPECT_EQ(1057, executeNDTCAL(nullptr, nullptr, 4));
    EXPECT_EQ(1057, executeNDTCAL(image.data(), nullptr, 4));
    for (const int count : kImpossibleCounts)
        EXPECT_EQ(1020, executeNDTCAL(image.data(), image.data(), count));
    EXPECT_EQ(std::set<std::string>{}, files());
    EXPECT_EQ(Lines{}, takeLog());
}

TEST_F(ExecuteNdtCal, a_file_that_cannot_be_written_is_logged_with_its_line) {
    const Longs image = {5, 6, 7, 8};
    const Longs dark(4, 1);
    const std::string failure = "Utils E <writeImageToDisk> errors out with a return value ";
    std::filesystem::create_directory(file("gain", kGainName));
    EXPECT_EQ(1039, executeNDTCAL(image.data(), dark.data(), 4));
    EXPECT_EQ((Lines{failure + "1039", "Utils E Error occur in Utilities,line 563"}), takeLog());
    EXPECT_EQ(kHeaderBytes + 16, readFile(file("offset", kDarkName)).size());
    // Without a dark image there are no gains.
    std::filesystem::remove(file("gain", kGainName));
    std::filesystem::remove(file("offset", kDarkName));
    std::filesystem::create_directory(file("offset", kDarkName));
    EXPECT_EQ(1039, executeNDTCAL(image.data(), dark.data(), 4));
    EXPECT_EQ((Lines{failure + "1039", "Utils E Error occur in Utilities,line 509"}), takeLog());
    EXPECT_FALSE(std::filesystem::exists(file("gain", kGainName)));
#ifndef _WIN32
    std::filesystem::remove(file("offset", kDarkName));
    std::filesystem::create_symlink("/dev/full", file("offset", kDarkName));
    EXPECT_EQ(1041, executeNDTCAL(image.data(), dark.data(), 4));
    EXPECT_EQ((Lines{failure + "1041", "Utils E Error occur in Utilities,line 509"}), takeLog());
#endif
}

// Lines of the log.
const std::string kReadFailed = "Utils E <readImageFromDisk> errors out with a return value ";
const std::string kDarkFailed = "Corr I Load offset image of NDT mode fail!";
const std::string kDarkLoaded = "Corr I Load offset calibration file for NDT mode successfully.";
const std::string kDarkDownload = "Corr E Download offset file from detector";
const std::string kGainLoaded = "Corr I Load gain calibration file for NDT mode successfully.";
const std::string kGainDownload = "Corr E Download gain file from detector";
const std::string kGainLine = "Utils E Error occur in Utilities,line 676";
const std::string kFixedLoaded = std::string("Corr E Read gain image \"") + kFixedName + "\" from disk succeeded!";
const std::string kFixedFailed = std::string("Corr E Read gain image \"") + kFixedName + "\" failed...";
const std::string kCorrected = "Corr I Do offset and gain correction successfully.";
const std::string kNewMethod = "Corr I new defect method.";
const std::string kDefectsLoaded = "Corr I Load defect information successfully.";
const std::string kWhatever = "Corr I whatever successfully.";
const std::string kDefectsCorrected = "Corr I Correct defects successfully.";

class CorrectNdtImage : public Ndt {
protected:
    template <class Value>
    void store(const char* directory, const std::string& name, const std::vector<Value>& values) const {
        writeFile(file(directory, name), calibration(values));
    }
    void storeGains(const Words& gains) const { store("gain", kGainName, gains); }
    void storeFixedGains(const Floats& gains) const {
        detector().config.fixedLinearGainEnabled = 1;
        store("gain", kFixedName, gains);
    }

    static std::string darkPath() { return "Corr E " + detector().offsetDirectory + kDarkName; }
    static std::string gainPath() { return "Corr E " + detector().gainDirectory + kGainName; }

    static int correct(Longs& image, const Longs* dark) {
        return correctNDTImage(image.data(), dark != nullptr ? dark->data() : nullptr, static_cast<int>(image.size()));
    }

    // An operation that answers with a status, leaves the image as it is and logs these lines.
    void expectFailure(int status, const Longs* dark, const Lines& lines) {
        const Longs before = {1100, 2200, 3300, 4400};
        Longs image = before;
        EXPECT_EQ(status, correct(image, dark));
        EXPECT_EQ(before, image);
        EXPECT_EQ(lines, takeLog());
    }

    // The correction by either of the gains below.
    void expectCorrection(const Longs* dark, const Lines& lines) {
        Longs image = {1100, 2200, 3300, 4400};
        EXPECT_EQ(0, correct(image, dark));
        EXPECT_EQ(corrected_, image);
        EXPECT_EQ(lines, takeLog());
    }

    // What is no file is not downloaded; files of another length give 1040.
    void expectRefusals(const char* directory, const char* name, const std::string& whole, const Longs* dark,
                        const std::function<Lines(int)>& lines) {
        std::filesystem::create_directory(file(directory, name));
        expectFailure(1039, dark, lines(1039));
        std::filesystem::remove(file(directory, name));
        for (const std::string& content : {std::string(), whole.substr(0, kHeaderBytes),
                                           whole.substr(0, whole.size() - 1), whole + "x", whole + whole}) {
            writeFile(file(directory, name), content);
            expectFailure(1040, dark, lines(1040));
        }
        EXPECT_TRUE(detector().transfers.empty());
    }

    // Pixels, their dark ones, gains and what they become.
    template <class Gain>
    struct Case {
        std::uint32_t image, dark;
        Gain gain;
        std::uint32_t result;
    };
    template <class Gain>
    void expectResults(const char* name, const std::vector<Case<Gain>>& cases, const Lines& lines) {
        Longs image, dark, expected;
        std::vector<Gain> gains;
        for (const Case<Gain>& c : cases) {
            image.push_back(c.image);
            dark.push_back(c.dark);
            gains.push_back(c.gain);
            expected.push_back(c.result);
        }
        store("gain", name, gains);
        EXPECT_EQ(0, correct(image, &dark));
        EXPECT_EQ(expected, image);
        EXPECT_EQ(lines, takeLog());
    }

    const Longs dark_ = {100, 200, 300, 400};
    const Floats fixedGains_ = {2.0f, 1.0f, 0.5f, 1.0f};
    const Words gains_ = {5000, 10000, 20000, 0};
    const Longs corrected_ = {2000, 2000, 1500, 4000};  // of 1100, 2200, 3300, 4400
};

TEST_F(CorrectNdtImage, ndt_gains_divide_and_truncate) {
    expectResults<std::uint16_t>(kGainName,
                                 {{1100, 100, 5000, 2000},
                                  {13, 10, 20000, 1},  // 1.5
                                  {12, 10, 30000, 0},  // 0.67
                                  {50, 60, 5000, 0},   // not below 0
                                  {0, 4294967295, 1, 0},
                                  {1234, 34, 0, 1200},  // gain 0 leaves the difference
                                  {60, 70, 0, 0},
                                  {3000000000, 0, 0, 3000000000},
                                  {3000000000, 0, 10000, 3000000000},
                                  {600000, 0, 1, 1705032704},  // 6e9 - 2^32
                                  {4294967295, 0, 0, 0}},      // becomes 2^32
                                 {gainPath(), kGainLoaded, kCorrected});
    EXPECT_EQ(std::set<std::string>{std::string("gain/") + kGainName}, files());
    EXPECT_TRUE(detector().transfers.empty());
}

TEST_F(CorrectNdtImage, fixed_gains_multiply_and_round) {
    using Limits = std::numeric_limits<float>;
    detector().config.fixedLinearGainEnabled = 1;
    expectResults<float>(kFixedName,
                         {{1100, 100, 2.0f, 2000},
                          {13, 10, 0.5f, 2},   // 1.5 + 0.5
                          {11, 10, 0.25f, 0},  // 0.75
                          {50, 60, 3.0f, 0},   // not below 0
                          {3000000000, 0, 1.0f, 3000000000},
                          {3000000000, 0, 2.0f, 1705032704},  // 6e9 - 2^32
                          {20, 10, 0.0f, 0},
                          {20, 10, -0.0625f, 0},        // -0.125
                          {20, 10, -0.125f, 0},         // -0.75
                          {20, 10, -1.0f, 4294967287},  // -9.5
                          {3000000000, 0, -2.0f, 2589934592},
                          {2147483648, 0, 1.0f, 2147483648},
                          {4294967295, 0, 1.0f, 0},
                          {20, 10, 1e30f, 0},
                          {20, 10, Limits::infinity(), 0},
                          {20, 10, -Limits::infinity(), 0},
                          {10, 10, Limits::infinity(), 0},
                          {20, 10, Limits::quiet_NaN(), 0}},
                         {kFixedLoaded, kCorrected});
}

TEST_F(CorrectNdtImage, agrees_with_the_plain_method_with_and_without_a_defect_list) {
    writeFile(file("defect", "NormalDefectInfo.cal"), std::string(kHeaderBytes, '\0'));
    for (const std::size_t count : {1u, 2u, 31u, 33u, 2047u, 2048u, 2049u, 6000u}) {
        const int n = static_cast<int>(count);
        setMode(n, 1);
        const Longs image = randomPixels(count, 0, 4294967295u, 1);
        const Longs dark = randomPixels(count, 0, 4294967295u, 2);
        Words gains(count);
        Floats fixedGains(count);
        SplitMix64 random(3);
        for (std::size_t i = 0; i < count; ++i) {
            gains[i] = static_cast<std::uint16_t>(random.below(5) == 0 ? random.below(2) : random.below(65536));
            fixedGains[i] = static_cast<float>(4 * random.uniform() - 2);
        }
        storeGains(gains);
        storeFixedGains(fixedGains);
        for (const bool isFixed : {false, true}) {
            Floats results(count);
            if (isFixed)
                plain::correctByFixedGain(results.data(), image.data(), dark.data(), fixedGains.data(), n);
            else
                plain::correctByNdtGain(results.data(), image.data(), dark.data(), gains.data(), n);
            Longs expected(count);
            plain::writeBack(expected.data(), results.data(), n);
            // Any value but 0 chooses the fixed gain.
            detector().config.fixedLinearGainEnabled = isFixed ? 0x80000000u : 0;
            for (const int method : {-1, 0, kNoDefects}) {
                detector().config.defectCorrectionMethod = method;
                Longs actual = image;
                EXPECT_EQ(0, correct(actual, &dark));
                EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << count << " " << isFixed << " " << method;
            }
        }
    }
}

TEST_F(CorrectNdtImage, without_a_dark_image_the_stored_one_serves) {
    store("offset", kDarkName, dark_);
    storeGains(gains_);
    expectCorrection(nullptr, {kDarkLoaded, gainPath(), kGainLoaded, kCorrected});
    // A given one goes before it.
    store("offset", kDarkName, Longs(4, 0));
    expectCorrection(&dark_, {gainPath(), kGainLoaded, kCorrected});
}

TEST_F(CorrectNdtImage, without_any_dark_image_nothing_happens) {
    storeGains(gains_);
    store("offset", kDarkName, dark_);
    for (const int syncMode : {0, 3}) {
        detector().syncMode = syncMode;
        detector().ndtFrameCount = 1;
        expectFailure(1020, nullptr, {"Utils E The input dark image is null.0"});
        detector().ndtFrameCount = 0;
        expectFailure(1057, nullptr, {});
    }
    detector().syncMode = 2;
    detector().ndtFrameCount = 4;
    expectFailure(1057, nullptr, {});
}

TEST_F(CorrectNdtImage, a_downloaded_dark_image_serves_the_next_call) {
    storeGains(gains_);
    expectFailure(1077, nullptr, {darkPath(), kDarkDownload});
    detector().transfers.clear();
    writeFile(file("storage", kDarkName), calibration(dark_));
    expectFailure(1039, nullptr, {darkPath(), kDarkDownload, kDarkFailed});
    ASSERT_EQ(1u, detector().transfers.size());
    const qxkit::TransferCall call = detector().transfers[0];
    EXPECT_EQ(0, call.kind);
    EXPECT_EQ(kDarkName, call.fileName);
    EXPECT_EQ(1, call.option);
    expectCorrection(nullptr, {kDarkLoaded, gainPath(), kGainLoaded, kCorrected});
    EXPECT_EQ(1u, detector().transfers.size());
}

TEST_F(CorrectNdtImage, files_that_do_not_suit_are_refused) {
    storeGains(gains_);
    expectRefusals("offset", kDarkName, calibration(dark_), nullptr, [&](int status) {
        return status == 1039 ? Lines{darkPath(), kDarkFailed} : Lines{kDarkFailed};
    });
    std::filesystem::remove(file("gain", kGainName));
    expectRefusals("gain", kGainName, calibration(gains_), &dark_, [&](int status) {
        return Lines{gainPath(), kReadFailed + std::to_string(status), kGainLine};
    });
    detector().config.fixedLinearGainEnabled = 1;
    expectRefusals("gain", kFixedName, calibration(fixedGains_), &dark_, [](int) { return Lines{kFixedFailed}; });
}

TEST_F(CorrectNdtImage, a_missing_gain_is_downloaded_and_used_at_once) {
    for (const bool isFixed : {false, true}) {
        const std::string name = isFixed ? kFixedName : kGainName;
        detector().config.fixedLinearGainEnabled = isFixed ? 1 : 0;
        detector().transfers.clear();
        Lines begin = {kGainDownload};
        if (!isFixed)
            begin.insert(begin.begin(), gainPath());
        expectFailure(1077, &dark_, begin);
        const std::string content = isFixed ? calibration(fixedGains_) : calibration(gains_);
        writeFile(file("storage", name), content);
        begin.push_back(isFixed ? kFixedLoaded : kGainLoaded);
        begin.push_back(kCorrected);
        expectCorrection(&dark_, begin);
        EXPECT_TRUE(content == readFile(file("gain", name)));
        ASSERT_EQ(2u, detector().transfers.size());
        EXPECT_EQ(1, detector().transfers[1].kind);
        EXPECT_EQ(name, detector().transfers[1].fileName);
        EXPECT_EQ(1, detector().transfers[1].option);
    }
}

TEST_F(CorrectNdtImage, a_failed_register_read_stands_in_the_names) {
    detector().faults.getFpgaReg = 23;
    store("offset", "ndt-dark-aed-500ms-gain23-4f.raw", dark_);
    store("gain", "ndt-linear-gain23.raw", gains_);
    store("gain", "Fixed-LINEAR-gain23.raw", fixedGains_);
    expectCorrection(nullptr, {kDarkLoaded, "Corr E " + detector().gainDirectory + "ndt-linear-gain23.raw", kGainLoaded,
                               kCorrected});
    detector().config.fixedLinearGainEnabled = 1;
    expectCorrection(
        nullptr, {kDarkLoaded, "Corr E Read gain image \"Fixed-LINEAR-gain23.raw\" from disk succeeded!", kCorrected});
}

TEST_F(CorrectNdtImage, impossible_arguments_change_nothing) {
    storeGains(gains_);
    EXPECT_EQ(1057, correctNDTImage(nullptr, dark_.data(), 4));
    Longs image = {1100, 2200, 3300, 4400};
    for (const int count : kImpossibleCounts)
        EXPECT_EQ(1020, correctNDTImage(image.data(), dark_.data(), count));
    EXPECT_EQ((Longs{1100, 2200, 3300, 4400}), image);
    EXPECT_EQ(Lines{}, takeLog());
}

TEST_F(CorrectNdtImage, levels_1_and_2_write_the_corrected_image) {
    storeGains(gains_);
    for (const int level : {-1, 0, 1, 2, 3}) {
        detector().config.correctedImageDumpLevel = level;
        expectCorrection(&dark_, {gainPath(), kGainLoaded, kCorrected});
        EXPECT_EQ(level == 1 || level == 2 ? bytesOf(corrected_) : "", readFile(file("temperature", "Corrected.raw")));
        std::filesystem::remove(file("temperature", "Corrected.raw"));
    }
    // Nothing to write when the correction failed, and no harm done when the writing does.
    detector().config.correctedImageDumpLevel = 1;
    std::filesystem::create_directory(file("temperature", "Corrected.raw"));
    Longs image = {1100, 2200, 3300, 4400};
    EXPECT_EQ(1039, correct(image, &dark_));
    EXPECT_EQ(corrected_, image);
    EXPECT_EQ((Lines{gainPath(), kGainLoaded, kCorrected}), takeLog());
    std::filesystem::remove(file("temperature", "Corrected.raw"));
    detector().config.defectCorrectionMethod = 0;
    expectFailure(1039, &dark_, {gainPath(), kGainLoaded, kCorrected});
    EXPECT_FALSE(std::filesystem::exists(file("temperature", "Corrected.raw")));
}

template <class Group>
Group groupOf(const std::vector<DefectEntry>& entries) {
    return {{static_cast<int>(entries.size()), 77, 77}, entries};
}

// A plane of 16 x 12 pixels, none of which has a gain: what lies between good pixels on a line can be restored exactly.
class CorrectNdtDefects : public CorrectNdtImage {
protected:
    static constexpr int kWidth = 16;
    static constexpr int kHeight = 12;
    static constexpr int kPixels = kWidth * kHeight;

    CorrectNdtDefects() {
        setMode(kWidth, kHeight);
        for (int i = 0; i < kPixels; ++i)
            plane_.push_back(static_cast<std::uint32_t>(5000 + 40 * (i % kWidth) + 100 * (i / kWidth)));
        storeGains(Words(kPixels, 0));
    }

    // Two points, two clusters, two rows and two columns of the plane are spoilt; lists of either kind name them all.
    Longs spoilt() const {
        Longs image = plane_;
        for (int i = 0; i < kPixels; ++i) {
            const int x = i % kWidth, y = i / kWidth;
            const bool inCluster = (x >= 4 && x <= 5 && y >= 6 && y <= 7) || (x >= 12 && x <= 13 && y == 2);
            if (i == 2 + 3 * kWidth || i == 13 + 9 * kWidth || inCluster || y == 5 || y == 10 || x == 8 || x == 10)
                image[static_cast<std::size_t>(i)] = 1000000;
        }
        return image;
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

    const Lines begin_ = {gainPath(), kGainLoaded, kCorrected};
    Lines beginAnd(const Lines& rest) const {
        Lines lines = begin_;
        lines.insert(lines.end(), rest.begin(), rest.end());
        return lines;
    }

    Longs plane_;
};

TEST_F(CorrectNdtDefects, the_method_chooses_the_list) {
    storeList(0, classicFile(classic_));
    storeList(1, "no defect file");
    EXPECT_EQ(plane_, corrected(spoilt(), 0));
    EXPECT_EQ(beginAnd({kDefectsCorrected}), takeLog());
    storeList(0, "no defect file");
    storeList(1, structuredFile(structured_));
    EXPECT_EQ(plane_, corrected(spoilt(), 1));
    EXPECT_EQ(beginAnd({kNewMethod, kDefectsLoaded, kWhatever, kDefectsCorrected}), takeLog());
    for (const int method : {-1, 2, 256}) {
        EXPECT_EQ(spoilt(), corrected(spoilt(), method));
        EXPECT_EQ(begin_, takeLog());
    }
}

TEST_F(CorrectNdtDefects, results_are_interpolated_before_they_are_truncated) {
    setMode(3, 1);
    storeFixedGains({0.1f, 0.1f, 0.1f});
    storeList(0, classicFile({.width = 3, .points = {{1, 0}}, .lines = {}, .clusterWords = {}}));
    // Between 1000.9 and 1001.9.
    EXPECT_EQ((Longs{1000, 1001, 1001}), corrected({10004, 99999, 10014}, 0));
    EXPECT_EQ((Lines{kFixedLoaded, kCorrected, kDefectsCorrected}), takeLog());
}

TEST_F(CorrectNdtDefects, entries_beyond_the_image_do_no_harm) {
    constexpr int kMost = std::numeric_limits<int>::max();
    constexpr int kLeast = std::numeric_limits<int>::min();
    const std::vector<DefectEntry> outside = {{0, kHeight, 0, 0},   {0, -1, 0, 0},    {kLeast, kLeast, 0, 0},
                                              {kMost, kMost, 0, 0}, {0, kMost, 0, 0}, {kMost, 0, 0, 0}};
    DefectInfo structured = structured_;
    structured.points.insert(structured.points.begin(), outside.begin(), outside.end());
    structured.clusters.insert(structured.clusters.begin() + 1, {groupOf<ClusterGroup>(outside), {}});
    structured.rows.push_back(groupOf<LineGroup>({{0, -1, 0, 0}, {0, kHeight, 0, 0}, {0, kLeast, 0, 0}}));
    structured.columns.push_back(groupOf<LineGroup>({{-1, 0, 0, 0}, {kWidth, 0, 0, 0}, {kMost, 0, 0, 0}}));
    storeList(1, structuredFile(structured));
    EXPECT_EQ(plane_, corrected(spoilt(), 1));
    ClassicDefects classic = classic_;
    classic.points.insert(classic.points.end(), {{0, 32767}, {-1, -1}});
    classic.lines.insert(classic.lines.end(), {{-2, 0, -2, 0}, {kWidth, 0, kWidth, 9}, {0, kHeight, 9, kHeight}});
    storeList(0, classicFile(classic));
    EXPECT_EQ(plane_, corrected(spoilt(), 0));
}

TEST_F(CorrectNdtDefects, unreadable_lists_leave_the_image) {
    for (const int method : {0, 1}) {
        const Lines lines = method == 0 ? begin_ : beginAnd({kNewMethod});
        EXPECT_EQ(spoilt(), corrected(spoilt(), method, 1039));
        EXPECT_EQ(lines, takeLog());
        const std::string whole = method == 0 ? classicFile(classic_) : structuredFile(structured_);
        for (const std::size_t length : {std::size_t{0}, kHeaderBytes - 1, kHeaderBytes + 5}) {
            storeList(method, whole.substr(0, length));
            EXPECT_EQ(spoilt(), corrected(spoilt(), method, 1040));
            EXPECT_EQ(lines, takeLog());
        }
    }
}

TEST_F(CorrectNdtDefects, the_mode_tells_the_shape_of_the_image) {
    storeList(0, classicFile(classic_));
    detector().faults.getModeInfo = 1234;
    EXPECT_EQ(spoilt(), corrected(spoilt(), 0, 1234));
    EXPECT_EQ(spoilt(), corrected(spoilt(), kNoDefects));
    detector().faults.getModeInfo = 0;
    takeLog();
    const std::pair<int, int> impossible[] = {{kWidth, kHeight + 1}, {kPixels + 1, 1},        {0, 5}, {-16, -12},
                                              {65536, 65536},        {2147483647, 2147483647}};
    for (const auto& [width, height] : impossible) {
        setMode(width, height);
        EXPECT_EQ(spoilt(), corrected(spoilt(), 0, 1020)) << width << " x " << height;
        EXPECT_EQ(begin_, takeLog());
    }
    // Pixels behind the mode's image have no defects.
    setMode(kWidth, 8);
    Longs expected = plane_;
    const Longs image = spoilt();
    std::copy(image.begin() + 8 * kWidth, image.end(), expected.begin() + 8 * kWidth);
    EXPECT_EQ(expected, corrected(image, 0));
}

TEST_F(CorrectNdtDefects, all_steps_tell_their_course_in_order) {
    store("offset", kDarkName, Longs(kPixels, 7));
    storeList(1, structuredFile(structured_));
    detector().config.defectCorrectionMethod = 1;
    detector().config.correctedImageDumpLevel = 2;
    Longs image = spoilt();
    for (std::uint32_t& pixel : image)
        pixel += 7;
    EXPECT_EQ(0, correct(image, nullptr));
    EXPECT_EQ(plane_, image);
    EXPECT_TRUE(bytesOf(plane_) == readFile(file("temperature", "Corrected.raw")));
    EXPECT_EQ((Lines{kDarkLoaded, gainPath(), kGainLoaded, kCorrected, kNewMethod, kDefectsLoaded, kWhatever,
                     kDefectsCorrected}),
              takeLog());
}

ClassicDefects classicOf(const VectorDefect& lists, int width) {
    ClassicDefects defects;
    defects.width = static_cast<std::uint32_t>(width);
    for (const int pixel : lists.points)
        defects.points.push_back({pixel % width, pixel / width});
    for (const int column : lists.columns)
        defects.lines.push_back({column, 0, column, 1});
    for (const int row : lists.rows)
        defects.lines.push_back({0, row, 1, row});
    for (const int pixel : lists.clusters) {
        if (pixel != -1)
            defects.clusterWords.insert(defects.clusterWords.end(), {pixel % width, pixel / width});
        else
            defects.clusterWords.push_back(-1);
    }
    if (!lists.clusters.empty() && lists.clusters.back() != -1)
        defects.clusterWords.push_back(-1);
    return defects;
}

// Calibrated with frames of its own, a panel's other frames show what the beam showed.
TEST_F(CorrectNdtImage, a_calibrated_panel_shows_the_object) {
    constexpr int kFrames = 8;
    qxkit::PanelParameters parameters;
    parameters.width = 96;
    parameters.height = 64;
    parameters.afeWidth = 32;
    parameters.slowPitch = 32;
    parameters.deadHalfColumns = 2;
    parameters.deadRows = 1;
    parameters.clusters = 2;
    const qxkit::VirtualPanel panel(parameters);
    constexpr int kPixels = 96 * 64;
    setMode(96, 64);
    const Longs dark = panel.ndtDark(kFrames, {.frame = 1}).pixels;
    const Longs bright = panel.ndtBright(kFrames, {.frame = 2}).pixels;
    ASSERT_EQ(0, executeNDTCAL(bright.data(), dark.data(), kPixels));
    writeFile(file("defect", "NormalDefectInfo.cal"), classicFile(classicOf(panel.truth().defects, 96)));
    detector().config.defectCorrectionMethod = 0;

    // A block that lets 40 % through, over the lower half.
    const qxkit::FrameOptions options{.frame = 3, .level = 30000, .attenuators = {{{32, 0, 32, 96}, 0.4, false}}};
    Longs image = panel.ndtObject(kFrames, options).pixels;
    ASSERT_EQ(0, correct(image, nullptr));
    const double open = 30000.0 / 52000.0 * 10000.0 * plain::ndtGainScale(bright.data(), dark.data(), kPixels);
    for (int row = 0; row < 64; ++row) {
        if (row >= 28 && row < 36)
            continue;
        const double expected = row < 32 ? open : 0.4 * open;
        for (int column = 0; column < 96; ++column)
            EXPECT_NEAR(1.0, image[static_cast<std::size_t>(row * 96 + column)] / expected, 0.012)
                << row << ", " << column;
    }
}

}  // namespace
