#include "Builders.h"
#include "reference/files/PlainCrc.h"

#include "files/Crc32.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

constexpr const char* kPathNames[] = {"Tables", "Products", "WideProducts"};

}  // namespace

namespace qx {

void PrintTo(CrcPath path, std::ostream* out) {
    *out << kPathNames[static_cast<int>(path)];
}

}  // namespace qx

namespace {

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

class Crc32 : public ::testing::TestWithParam<qx::CrcPath> {
protected:
    void SetUp() override {
        if (!qx::forceCrcPath(GetParam()))
            GTEST_SKIP() << "this processor lacks carry-less multiplication of that width";
    }
    void TearDown() override { qx::forceCrcPath(qx::bestCrcPath()); }
};

std::string pathName(const ::testing::TestParamInfo<qx::CrcPath>& path) {
    return kPathNames[static_cast<int>(path.param)];
}

INSTANTIATE_TEST_SUITE_P(Paths, Crc32,
                         ::testing::Values(qx::CrcPath::Tables, qx::CrcPath::Products, qx::CrcPath::WideProducts),
                         pathName);

TEST_P(Crc32, equals_the_bitwise_sum_at_every_length_and_offset) {
    const std::string bytes = qx::test::randomBytes(1400, 11);
    for (std::size_t offset = 0; offset < 17; ++offset)
        for (std::size_t count = 0; count + offset <= 1330; count += count < 80 ? 1 : 13)
            ASSERT_EQ(qx::plain::crcBitByBit(bytes.data() + offset, count),
                      qx::updateCrc32(0, bytesOf(bytes) + offset, count))
                << count << " bytes at " << offset;
}

TEST_P(Crc32, may_be_continued_anywhere) {
    // Longer than a block of the table's streams.
    const std::string bytes = qx::test::randomBytes(40000, 12);
    const std::uint32_t whole = qx::plain::crcBitByBit(bytes.data(), bytes.size());
    for (std::size_t cut = 0; cut <= bytes.size(); cut += 977)
        EXPECT_EQ(whole,
                  qx::updateCrc32(qx::updateCrc32(0, bytesOf(bytes), cut), bytesOf(bytes) + cut, bytes.size() - cut));
}

}  // namespace
