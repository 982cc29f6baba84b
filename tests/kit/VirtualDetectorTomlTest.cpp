#include "Builders.h"

#include <VirtualDetector.h>

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>

namespace {

using qx::test::readFile;
using qx::test::TemporaryDirectory;
using qx::test::writeFile;

class DetectorFile : public ::testing::Test {
protected:
    DetectorFile() { qxkit::resetVirtualDetector(); }
    ~DetectorFile() override { qxkit::resetVirtualDetector(); }

    static qxkit::VirtualDetector& detector() { return qxkit::virtualDetector(); }

    std::string load(const std::string& content) const {
        writeFile(folder_ / "detector.toml", content);
        return qxkit::loadVirtualDetector(folder_ / "detector.toml");
    }
    std::filesystem::path folder() const { return folder_.path(); }

private:
    TemporaryDirectory folder_;
};

bool sameDirectory(const std::string& kitPath, const std::filesystem::path& expected) {
    const auto name = [](const std::filesystem::path& folder) { return (folder / "x").lexically_normal(); };
    return name(qxkit::nativePath(kitPath)) == name(expected) && std::filesystem::is_directory(expected);
}

// Everything but the directories.
auto stateOf(const qxkit::VirtualDetector& d) {
    const auto bytesOf = [](const auto& record) {
        return std::string(reinterpret_cast<const char*>(&record), sizeof(record));
    };
    const qxkit::DetectorFaults& f = d.faults;
    return std::tuple(bytesOf(d.config), bytesOf(d.registers), d.iparams, d.type, d.width, d.height, d.description,
                      d.machineId, d.mode, d.modeWidth, d.modeHeight, d.syncMode, d.ndtFrameCount, d.afeWidth,
                      d.aedTriggerLine, d.integrationTimeMs, d.temperatureC, d.timeIntervalS, f.getFpgaReg,
                      f.getDetectorIparam, f.getDetectorInformation, f.getModeInfo, f.getAFEWidthByDetectorDescription,
                      f.getStatusInformation, f.fillImgHead, f.transferFile, f.transferFileByName);
}

std::string exampleText() {
    return readFile(QXUTILS_EXAMPLE_TOML);
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

void disturb(qxkit::VirtualDetector& detector) {
    std::memset(&detector.config, 0, sizeof(detector.config));
    detector.config.maxGrayValue = 1;
    detector.registers = {};
    detector.iparams[196] = 3;
    detector.type = detector.width = detector.height = detector.mode = detector.modeWidth = detector.modeHeight = 8;
    detector.syncMode = detector.ndtFrameCount = detector.afeWidth = detector.aedTriggerLine = 9;
    detector.integrationTimeMs = 10;
    detector.temperatureC = detector.timeIntervalS = 11.0f;
    detector.description = detector.machineId = "other";
    auto& faults = detector.faults;
    faults.getFpgaReg = faults.getDetectorIparam = faults.getDetectorInformation = faults.getModeInfo = 12;
    faults.getAFEWidthByDetectorDescription = faults.getStatusInformation = faults.fillImgHead = 13;
    faults.transferFile = 14;
}

TEST_F(DetectorFile, example_names_every_field_with_its_default) {
    ASSERT_NE("", exampleText());
    disturb(detector());
    EXPECT_EQ("", load(exampleText()));
    EXPECT_TRUE(stateOf(qxkit::VirtualDetector()) == stateOf(detector()));
}

TEST_F(DetectorFile, example_shows_keys_that_work_when_switched_on) {
    const std::string keys = replaced(replaced(exampleText(), "\n#", "\n"), "\n ", "\n# ");
    EXPECT_EQ("", load(keys));
    EXPECT_EQ(7, detector().faults.transferFileByName["ndt-linear-gain2.raw"]);
    EXPECT_TRUE(sameDirectory(detector().storageDirectory, folder() / "detector" / "storage"));
    EXPECT_TRUE(sameDirectory(detector().temperatureDirectory, folder() / "detector" / "temperature"));
}

TEST_F(DetectorFile, named_values_are_taken_and_others_kept) {
    detector().machineId = "kept";
    detector().transfers.push_back({});
    EXPECT_EQ("", load("[limits]\nmaxGrayValue = 4294967295\nuniformityCvLimit = 2\nrcnRowDiffLimit = -1.5e1\n"
                       "fixedLinearGainEnabled = true\n[iparams]\n196 = 3\n2 = -2147483648\n"
                       "[faults]\ngetFpgaReg = 7\ntransferFileByName = { \"x y.raw\" = -1 }\n"));
    EXPECT_EQ(4294967295U, detector().config.maxGrayValue);
    EXPECT_EQ(2.0f, detector().config.uniformityCvLimit);
    EXPECT_EQ(-15.0f, detector().config.rcnRowDiffLimit);
    EXPECT_EQ(1U, detector().config.fixedLinearGainEnabled);
    EXPECT_EQ((std::map<int, int>{{196, 3}, {2, -2147483647 - 1}}), detector().iparams);
    EXPECT_EQ(7, detector().faults.getFpgaReg);
    EXPECT_EQ(-1, detector().faults.transferFileByName["x y.raw"]);
    EXPECT_EQ("kept", detector().machineId);
    EXPECT_EQ(1U, detector().transfers.size());
}

TEST_F(DetectorFile, ids_refine_the_mode_word_and_fields_refine_words) {
    EXPECT_EQ("", load("[registers]\ngainId = 1\npowerMode = 6\nmodeWord = 0xFFFFFFFF\nexposureTimeMs = 299.5\n"
                       "words = { 0 = 1, 32 = 5, 40 = 9, 1023 = 0x80000000 }\n"));
    const FpgaReg& registers = detector().registers;
    EXPECT_EQ(static_cast<std::int32_t>(0xFFFFDF9FU), registers.modeWord);
    EXPECT_EQ(299.5f, registers.exposureTimeMs);
    EXPECT_EQ(1, registers.reserved0[0]);
    EXPECT_EQ(0x80, registers.reserved164[3931]);
}

TEST_F(DetectorFile, folders_lie_below_the_file_and_single_ones_elsewhere) {
    const TemporaryDirectory elsewhere;
    const std::string gain = replaced(elsewhere / "g", "\\", "/");
    EXPECT_EQ("", load("[directories]\ngain = \"" + gain + "\"\noffset = 'calib\\offset\\'\nroot = \"device\"\n"));
    EXPECT_TRUE(sameDirectory(detector().workDirectory, folder() / "device"));
    EXPECT_TRUE(sameDirectory(detector().defectDirectory, folder() / "device" / "defect"));
    EXPECT_TRUE(sameDirectory(detector().offsetDirectory, folder() / "calib" / "offset"));
    EXPECT_TRUE(sameDirectory(detector().gainDirectory, gain));
    EXPECT_TRUE(detector().offsetDirectory.ends_with("calib\\offset\\")) << detector().offsetDirectory;
    // The file is in UTF-8, what it names need not be.
    EXPECT_EQ("", load("[directories]\nroot = \"M\xC3\xBCller\"\n"));
    EXPECT_TRUE(sameDirectory(detector().gainDirectory, std::filesystem::path(folder()) / u"M\u00FCller" / "gain"));
}

constexpr const char* kWhole = "must be a whole number from -2147483648 to 2147483647";
constexpr const char* kFloat = "must be a number from -3.40282e+38 to 3.40282e+38";
constexpr const char* kUnknown = "is not a known key";
constexpr const char* kNoWord = "the key must be a whole number from 0 to 1023";

// What follows the name of the detector, where it is told, and why it is refused.
constexpr const char* kWrongFiles[][3] = {
    {"colour = 1\n", ":5: detector.colour: ", kUnknown},
    {"[colours]\n", ":5: colours: ", kUnknown},
    {"type = 1.0\n", ":5: detector.type: ", kWhole},
    {"type = \"1\"\n", ":5: detector.type: ", kWhole},
    {"type = 2147483648\n", ":5: detector.type: ", kWhole},
    {"\nwidth = 0\n", ":6: detector.width: ", "must be a whole number from 1 to 2147483647"},
    {"description = 5\n", ":5: detector.description: ", "must be a text whose length is from 0 to 255 bytes"},
    {"[limits]\nmaxGrayValue = -1\n", ":6: limits.maxGrayValue: ", "must be a whole number from 0 to 4294967295"},
    {"[limits]\nloggingEnabled = 1\n", ":6: limits.loggingEnabled: ", "must be true or false"},
    {"[limits]\ngainGroupCvLimit = nan\n", ":6: limits.gainGroupCvLimit: ", kFloat},
    {"[limits]\ngainGroupCvLimit = 1e39\n", ":6: limits.gainGroupCvLimit: ", kFloat},
    {"[registers]\ngainId = 8\n", ":6: registers.gainId: ", "must be a whole number from 0 to 7"},
    {"[registers.words]\n1024 = 1\n", ":6: registers.words.1024: ", kNoWord},
    {"[registers.words]\n7x = 1\n", ":6: registers.words.7x: ", kNoWord},
    {"[iparams]\n-1 = 1\n", ":6: iparams.-1: ", "the key must be a whole number from 0 to 2147483647"},
    {"[faults]\n\"transferFileByName\" = { \"x.raw\" = 1 }\ngetFpgaReg = []\n", ":7: faults.getFpgaReg: ", kWhole},
    {"[faults.transferFileByName]\n\n\"a.raw\" = true\n", ":7: faults.transferFileByName.a.raw: ", kWhole},
    {"[[limits]]\n", ":5: limits: ", "must be a table"},
    {"[[iparams]]\n", ":5: iparams: ", "must be a table"}};

TEST_F(DetectorFile, wrong_one_is_refused_in_one_line_and_changes_nothing) {
    disturb(detector());
    const qxkit::VirtualDetector before = detector();
    for (const auto& [content, place, reason] : kWrongFiles) {
        const std::string problem =
            load("[directories]\nroot = \"new\"\n[detector]\nmachineId = \"new\"\n" + std::string(content));
        EXPECT_EQ((folder() / "detector.toml").string() + place + reason, problem);
        EXPECT_TRUE(stateOf(before) == stateOf(detector())) << content;
        EXPECT_EQ(before.workDirectory, detector().workDirectory);
        EXPECT_FALSE(std::filesystem::exists(folder() / "new"));
    }
}

TEST_F(DetectorFile, broken_syntax_and_files_that_cannot_be_read_are_refused_in_one_line) {
    const std::string problem = load("[detector]\ntype = = 1\n");
    const std::string expected = (folder() / "detector.toml").string() + ":2: not valid TOML: ";
    EXPECT_EQ(expected, problem.substr(0, expected.size()));
    EXPECT_EQ(std::string::npos, problem.find('\n'));
    const auto missing = folder() / "missing.toml";
    EXPECT_EQ(missing.string() + ": cannot be read", qxkit::loadVirtualDetector(missing));
    EXPECT_EQ(folder().string() + ": cannot be read", qxkit::loadVirtualDetector(folder()));
}

TEST_F(DetectorFile, folder_that_cannot_be_created_is_named_and_changes_nothing) {
    writeFile(folder() / "file", "in the way");
    const std::pair<const char*, const char*> cases[] = {
        {"root = \"made\"\nwork = \"file/work\"\n", ":5: directories.work: cannot create the folder "},
        {"gain = \"made\"\nroot = \"file\"\n", ":5: directories.root: cannot create the folder "},
    };
    for (const auto& [folders, expected] : cases) {
        const std::string problem = load("[detector]\nmachineId = \"new\"\n[directories]\n" + std::string(folders));
        EXPECT_TRUE(problem.starts_with((folder() / "detector.toml").string() + expected)) << problem;
        EXPECT_EQ(std::string::npos, problem.find('\n'));
        EXPECT_TRUE(stateOf(qxkit::VirtualDetector()) == stateOf(detector()));
        EXPECT_EQ(qxkit::VirtualDetector().gainDirectory, detector().gainDirectory);
    }
}

}  // namespace
