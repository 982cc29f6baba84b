#include "Builders.h"
#include "PlainCrc.h"

#include "files/Crc32.h"

#include <gtest/gtest.h>

namespace {

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

class Crc32 : public ::testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        if (!qx::forceCrcTables(GetParam()) && !GetParam())
            GTEST_SKIP() << "this processor lacks carry-less multiplication";
    }
    void TearDown() override { qx::forceCrcTables(false); }
};

std::string pathName(const ::testing::TestParamInfo<bool>& path) {
    return path.param ? "Tables" : "CarryLess";
}

INSTANTIATE_TEST_SUITE_P(Paths, Crc32, ::testing::Bool(), pathName);

TEST_P(Crc32, equals_the_bitwise_sum_at_every_length_and_offset) {
    const std::string bytes = qx::test::randomBytes(400, 11);
    for (std::size_t offset = 0; offset < 17; ++offset)
        for (std::size_t count = 0; count + offset <= 330; ++count)
            ASSERT_EQ(qx::plain::crcBitByBit(bytes.data() + offset, count),
                      qx::updateCrc32(0, bytesOf(bytes) + offset, count))
                << count << " bytes at " << offset;
}

TEST_P(Crc32, may_be_continued_anywhere) {
    const std::string bytes = qx::test::randomBytes(1000, 12);
    const std::uint32_t whole = qx::updateCrc32(0, bytesOf(bytes), bytes.size());
    for (std::size_t cut = 0; cut <= bytes.size(); cut += 37)
        EXPECT_EQ(whole,
                  qx::updateCrc32(qx::updateCrc32(0, bytesOf(bytes), cut), bytesOf(bytes) + cut, bytes.size() - cut));
}

}  // namespace
