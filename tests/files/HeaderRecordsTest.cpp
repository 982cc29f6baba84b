#include "BinaryFields.h"
#include "Builders.h"

#include <QxUtils/Files.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <span>

namespace {

using qx::test::putBig;
using qx::test::randomBytes;

constexpr std::size_t kInfo = 16384;

template <class Record>
std::string bytesOf(const Record& record) {
    std::string bytes(sizeof record, '\0');
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

// The record is the region of the header, the numbers from first to last of each run with their bytes reversed. The
// header ends where the last byte to be read does, so that reading on is noticed.
template <class Record>
void expectRecord(void (*get)(Record*, const char*), std::size_t offset, std::size_t size,
                  std::span<const std::size_t[2]> runs) {
    ASSERT_EQ(size, sizeof(Record));
    for (std::uint64_t seed = 1; seed < 4; ++seed) {
        const std::string bytes = randomBytes(offset + size, seed);
        const std::vector<char> header(bytes.begin(), bytes.end());
        std::string expected = bytes.substr(offset);
        for (const auto& [first, last] : runs) {
            for (std::size_t field = first; field <= last; field += 4)
                std::reverse(expected.begin() + field, expected.begin() + field + 4);
        }
        Record record;
        std::memset(&record, 0x5A, size);
        get(&record, header.data());
        EXPECT_EQ(expected, bytesOf(record));
        EXPECT_EQ(bytes, std::string(header.begin(), header.end()));
    }
}

TEST(HeaderRecords, numbers_change_their_order_and_the_rest_stays) {
    constexpr std::size_t kFile[][2] = {{8, 68}};
    constexpr std::size_t kInformation[][2] = {{0, 4},     {40, 52},   {80, 132},  {396, 420}, {484, 512},
                                               {520, 520}, {528, 528}, {536, 548}, {560, 572}, {640, 652}};
    expectRecord(getDetectorFileHeadFromImageHead, 0, 72, kFile);
    expectRecord(getDetectorInfoHeadFromImageHead, kInfo, 656, kInformation);
    expectRecord(getPcImageHeadFromImageHead, 32768, 568, {});
}

TEST(HeaderRecords, named_fields_of_a_header_made_by_hand) {
    std::string header(65536, '\0');
    putBig(header, 8, 0xFFFFFFFEu);
    putBig(header, 12, 3072);
    putBig(header, 16, 2560);
    putBig(header, 68, 0x01020304);
    putBig(header, kInfo + 40, 44);
    putBig(header, kInfo + 80, std::bit_cast<std::uint32_t>(500.5f));
    putBig(header, kInfo + 528, 0x7F800001);  // a signalling NaN keeps its bits
    header.replace(16512, 4, "\x42\x0C\0\0", 4);
    header.replace(0, 8, "ABCDEFGH");
    header.replace(kInfo + 8, 4, "text");
    DetectorFileHead file{};
    getDetectorFileHeadFromImageHead(&file, header.data());
    EXPECT_EQ("ABCDEFGH", std::string(file.stored, 8));
    EXPECT_EQ(-2, file.word8);
    EXPECT_EQ(3072, file.width);
    EXPECT_EQ(2560, file.height);
    EXPECT_EQ(0x01020304, file.words20[12]);
    DetectorInfoHead information{};
    getDetectorInfoHeadFromImageHead(&information, header.data());
    EXPECT_EQ("text", std::string(information.stored8, 4));
    EXPECT_EQ(44, information.detectorType);
    EXPECT_EQ(500.5f, information.integrationTime);
    EXPECT_EQ(35.0f, information.temperature);
    std::uint32_t bits = 0;
    std::memcpy(&bits, &information.float528, sizeof bits);
    EXPECT_EQ(0x7F800001u, bits);
}

TEST(TemperatureOfHeader, is_the_float_of_the_four_bytes) {
    const struct {
        std::uint32_t stored;
        float expected;
    } cases[] = {{0x420C0000, 35.0f}, {0, 0.0f}, {0xC1200000, -10.0f}, {0x00000C42, std::bit_cast<float>(0xC42u)}};
    for (const auto& c : cases) {
        std::string bytes(kInfo + 656, '\x7F');
        putBig(bytes, 16512, c.stored);
        const std::vector<char> header(bytes.begin(), bytes.end());
        EXPECT_EQ(c.expected, getTemperatureFromImageHead(header.data()));
    }
}

TEST(HeaderRecords, null_pointers_are_harmless) {
    const std::string header = randomBytes(65536, 1);
    getDetectorFileHeadFromImageHead(nullptr, header.data());
    getDetectorInfoHeadFromImageHead(nullptr, header.data());
    getPcImageHeadFromImageHead(nullptr, header.data());
    DetectorFileHead file{};
    DetectorInfoHead information{};
    PcImgHead pc{};
    getDetectorFileHeadFromImageHead(&file, nullptr);
    getDetectorInfoHeadFromImageHead(&information, nullptr);
    getPcImageHeadFromImageHead(&pc, nullptr);
    EXPECT_EQ(std::string(72 + 656 + 568, '\0'), bytesOf(file) + bytesOf(information) + bytesOf(pc));
    EXPECT_EQ(-128.0f, getTemperatureFromImageHead(nullptr));
}

}  // namespace
