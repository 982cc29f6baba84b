#include "Builders.h"

#include <QxCodec.h>
#include <QxSysMgt.h>
#include <VirtualDetector.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using qx::test::readFile;
using qx::test::TemporaryDirectory;
using qx::test::writeFile;

constexpr int kHeaderBytes = 65536;

class VirtualDetector : public ::testing::Test {
protected:
    VirtualDetector() { qxkit::resetVirtualDetector(); }
    ~VirtualDetector() override { qxkit::resetVirtualDetector(); }

    static qxkit::VirtualDetector& detector() { return qxkit::virtualDetector(); }
};

template <class Record>
std::string bytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof(record)};
}

template <class Record>
void expectFaultAndNullKeepOutput(int (*call)(Record*), int qxkit::DetectorFaults::*fault) {
    Record output;
    std::memset(&output, 0xA5, sizeof(output));
    const std::string poison = bytesOf(output);
    qxkit::virtualDetector().faults.*fault = 7;
    EXPECT_EQ(7, call(&output));
    EXPECT_EQ(poison, bytesOf(output));
    qxkit::virtualDetector().faults.*fault = 0;
    EXPECT_EQ(1057, call(nullptr));
    EXPECT_EQ(0, call(&output));
    EXPECT_NE(poison, bytesOf(output));
}

TEST_F(VirtualDetector, faults_are_returned_and_keep_the_output) {
    using Faults = qxkit::DetectorFaults;
    using Header = std::array<char, kHeaderBytes>;
    expectFaultAndNullKeepOutput(getFpgaReg, &Faults::getFpgaReg);
    expectFaultAndNullKeepOutput(getDetectorInformation, &Faults::getDetectorInformation);
    expectFaultAndNullKeepOutput(getModeInfo, &Faults::getModeInfo);
    expectFaultAndNullKeepOutput(getStatusInformation, &Faults::getStatusInformation);
    expectFaultAndNullKeepOutput(getAFEWidthByDetectorDescription, &Faults::getAFEWidthByDetectorDescription);
    expectFaultAndNullKeepOutput<int>([](int* value) { return getDetectorIparam(196, value); },
                                      &Faults::getDetectorIparam);
    expectFaultAndNullKeepOutput<Header>(
        [](Header* header) { return fillImgHead(header == nullptr ? nullptr : header->data(), 17, 1); },
        &Faults::fillImgHead);
}

TEST_F(VirtualDetector, queries_answer_from_the_state) {
    detector().type = 25;
    detector().syncMode = 3;
    detector().ndtFrameCount = 4;
    detector().aedTriggerLine = 77;
    detector().integrationTimeMs = 800;
    detector().timeIntervalS = 2.5f;
    detector().machineId = "unit 9";
    detector().mode = 16;
    detector().modeWidth = 640;
    detector().modeHeight = 480;
    EXPECT_EQ(25, get_dtt_type());
    EXPECT_EQ(3, getSyncMode());
    EXPECT_EQ(4, getNDTFrameNum());
    EXPECT_EQ(77, getAEDRadScanLine());
    EXPECT_EQ(800, *getRadExpTime());
    EXPECT_EQ(2.5f, getTimeInterval());
    const char* const machineId = getMachineID();
    detector().machineId = "unit 10";
    EXPECT_STREQ("unit 10", getMachineID());
    EXPECT_STREQ("unit 9", machineId) << "a text that was handed out stays";
    ModeInfo mode{};
    EXPECT_EQ(0, getModeInfo(&mode));
    EXPECT_EQ(16, mode.mode);
    EXPECT_EQ(640, mode.width);
    EXPECT_EQ(480, mode.height);
    getConfigInfo()->maxGrayValue = 16383;
    EXPECT_EQ(16383U, detector().config.maxGrayValue);
    qxkit::resetVirtualDetector();
    EXPECT_EQ(65535U, getConfigInfo()->maxGrayValue);
    EXPECT_EQ(1, get_dtt_type());
}

TEST_F(VirtualDetector, information_holds_big_endian_sizes_and_a_cut_description) {
    detector().width = 0x00000C80;
    detector().height = 0x01020304;
    detector().description = "Halbrook" + std::string(400, 'x');
    DetectorInformation information;
    std::memset(&information, 0xA5, sizeof(information));
    ASSERT_EQ(0, getDetectorInformation(&information));
    const auto* bytes = reinterpret_cast<const unsigned char*>(&information);
    EXPECT_EQ((std::vector<unsigned char>{0, 0, 0x0C, 0x80, 1, 2, 3, 4}), std::vector<unsigned char>(bytes, bytes + 8));
    EXPECT_EQ("Halbrook" + std::string(247, 'x'), std::string(information.description));
}

TEST_F(VirtualDetector, unknown_parameter_keeps_the_value) {
    int value = 42;
    EXPECT_EQ(1020, getDetectorIparam(5, &value));
    EXPECT_EQ(42, value);
    detector().iparams[5] = -9;
    EXPECT_EQ(0, getDetectorIparam(5, &value));
    EXPECT_EQ(-9, value);
}

TEST_F(VirtualDetector, mode_ids_lie_in_their_bits) {
    detector().registers.modeWord = -1;
    qxkit::setPowerMode(5);
    qxkit::setGainId(2);
    FpgaReg registers{};
    ASSERT_EQ(0, getFpgaReg(&registers));
    EXPECT_EQ(5, registers.modeWord >> 13 & 7);
    EXPECT_EQ(2, registers.modeWord >> 4 & 7);
    EXPECT_EQ(~(7 << 13 | 7 << 4), registers.modeWord & ~(7 << 13 | 7 << 4));
}

TEST_F(VirtualDetector, directories_end_with_a_backslash_and_exist) {
    const TemporaryDirectory root;
    ASSERT_EQ("", qxkit::setDirectories(root / "detector"));
    const std::vector<std::pair<std::string, std::string>> expected{
        {getWorkDir(), ""},
        {getOfstImgDir(), "offset\\"},
        {getGainImgDir(), "gain\\"},
        {getDefectImgDir(), "defect\\"},
        {getTempImgDir(), "temperature\\"},
        {detector().storageDirectory, "storage\\"},
    };
    for (const auto& [directory, end] : expected) {
        EXPECT_TRUE(directory.ends_with("detector\\" + end)) << directory;
        EXPECT_EQ(std::string::npos, directory.find('/')) << directory;
        EXPECT_TRUE(std::filesystem::is_directory(qxkit::nativePath(directory))) << directory;
    }
    writeFile(root / "file", "in the way");
    EXPECT_NE("", qxkit::setDirectories(root / "file"));
#ifndef _WIN32
    // Its text would name a folder in a folder.
    EXPECT_NE("", qxkit::setDirectories(root / "one\\name"));
    EXPECT_FALSE(std::filesystem::exists(root / "one\\name"));
#endif
    EXPECT_EQ(expected[0].first, getWorkDir());
}

TEST_F(VirtualDetector, transfer_copies_into_the_directory_of_its_kind) {
    const TemporaryDirectory root;
    ASSERT_EQ("", qxkit::setDirectories(root.path()));
    const std::string content("dark\r\n\0\x1Aimage", 13);
    writeFile(qxkit::nativePath(detector().storageDirectory + "a.raw"), content);
    const std::string older = "an older and much longer gain file";
    writeFile(qxkit::nativePath(detector().gainDirectory + "a.raw"), older);
    // What somebody is reading.
    std::filesystem::create_hard_link(qxkit::nativePath(detector().gainDirectory + "a.raw"), root / "read");
    EXPECT_EQ(0, transferFile(0, "a.raw", 1));
    EXPECT_EQ(content, readFile(qxkit::nativePath(getOfstImgDir() + std::string("a.raw"))));
    EXPECT_EQ(0, transferFile(1, "a.raw", 1));
    EXPECT_EQ(content, readFile(qxkit::nativePath(getGainImgDir() + std::string("a.raw"))));
    EXPECT_EQ(older, readFile(root / "read"));
    detector().storageDirectory = detector().gainDirectory;
    EXPECT_EQ(0, transferFile(1, "a.raw", 1));
    EXPECT_EQ(content, readFile(qxkit::nativePath(getGainImgDir() + std::string("a.raw"))));
    writeFile(qxkit::nativePath(detector().storageDirectory + "empty.raw"), "");
    EXPECT_EQ(0, transferFile(0, "empty.raw", 1));
    EXPECT_TRUE(std::filesystem::exists(qxkit::nativePath(getOfstImgDir() + std::string("empty.raw"))));
}

TEST_F(VirtualDetector, failing_transfers_leave_the_directory_alone) {
    const TemporaryDirectory root;
    ASSERT_EQ("", qxkit::setDirectories(root.path()));
    writeFile(qxkit::nativePath(detector().storageDirectory + "a.raw"), "a");
    detector().faults.transferFileByName["a.raw"] = 7;
    const struct {
        int kind;
        const char* name;
        int status;
    } cases[] = {{0, "a.raw", 7},    {0, "missing.raw", 1039}, {2, "x.raw", 1020}, {-1, "x.raw", 1020},
                 {0, "..\\b", 1020}, {1, "offset/b", 1020},    {0, "", 1020},      {0, nullptr, 1057}};
    for (const auto& c : cases)
        EXPECT_EQ(c.status, transferFile(c.kind, c.name, 1)) << (c.name == nullptr ? "null" : c.name);
    EXPECT_TRUE(std::filesystem::is_empty(qxkit::nativePath(getOfstImgDir())));
    detector().faults.transferFile = 9;
    detector().faults.transferFileByName["a.raw"] = 0;
    EXPECT_EQ(9, transferFile(0, "b.raw", 1));
    EXPECT_EQ(0, transferFile(0, "a.raw", 1));
    std::filesystem::remove_all(qxkit::nativePath(getOfstImgDir()));
    EXPECT_EQ(1041, transferFile(0, "a.raw", 3));
    ASSERT_EQ(std::size(cases) + 3, detector().transfers.size());
    EXPECT_EQ(7, detector().transfers.front().status);
    EXPECT_EQ("a.raw", detector().transfers.back().fileName);
    EXPECT_EQ(3, detector().transfers.back().option);
}

TEST_F(VirtualDetector, header_holds_five_big_endian_fields_and_zeros) {
    detector().width = 3072;
    detector().height = 2560;
    detector().modeWidth = 1536;
    detector().modeHeight = 1280;
    detector().type = 13;
    detector().integrationTimeMs = 500;
    detector().temperatureC = 35.0f;
    for (const int kind : {17, 18, 19}) {
        std::string expected(kHeaderBytes, '\0');
        expected.replace(12, 8, std::string(kind == 17 ? "\0\0\x0C\0\0\0\x0A\0" : "\0\0\x06\0\0\0\x05\0", 8));
        expected.replace(16424, 4, std::string("\0\0\0\x0D", 4));
        expected.replace(16464, 4, std::string("\x43\xFA\0\0", 4));
        expected.replace(16512, 4, std::string("\x42\x0C\0\0", 4));
        std::string header(kHeaderBytes + 1, '\xA5');
        ASSERT_EQ(0, fillImgHead(header.data(), kind, 1));
        EXPECT_EQ('\xA5', header.back());
        header.pop_back();
        EXPECT_TRUE(header == expected) << "kind " << kind;
    }
    std::string header(kHeaderBytes, '\xA5');
    for (const int kind : {0, 16, 20, -17})
        EXPECT_EQ(1020, fillImgHead(header.data(), kind, 1));
    EXPECT_EQ(std::string(kHeaderBytes, '\xA5'), header);
}

TEST(ReverseCopy, reverses_exactly_the_counted_bytes) {
    const std::string source = "abcdefgh";
    for (const int count : {-1, 0, 1, 2, 3, 4, 8}) {
        std::string destination(10, '.');
        reverseCopy(destination.data(), source.data(), count);
        const std::string head = source.substr(0, static_cast<std::size_t>(std::max(count, 0)));
        std::string expected(head.rbegin(), head.rend());
        expected.resize(10, '.');
        EXPECT_EQ(expected, destination) << count;
    }
}

}  // namespace
