#include "Builders.h"
#include "reference/files/PlainCrc.h"

#include "kernels/CrcKernels.h"
#include "levels/AtVectorLevel.h"

namespace {

using Crc32 = qx::test::AtVectorLevel;

INSTANTIATE_TEST_SUITE_P(Levels, Crc32, qx::test::kVectorLevels, qx::test::levelName);

std::uint32_t updated(std::uint32_t crc, const char* bytes, std::size_t count) {
    return qx::crcKernels().update(crc, reinterpret_cast<const unsigned char*>(bytes), count);
}

TEST_P(Crc32, equals_the_bitwise_sum_at_every_length_and_offset) {
    const std::string bytes = qx::test::randomBytes(1400, 11);
    for (std::size_t offset = 0; offset < 17; ++offset)
        for (std::size_t count = 0; count + offset <= 1330; count += count < 80 ? 1 : 13)
            ASSERT_EQ(qx::plain::crcBitByBit(bytes.data() + offset, count), updated(0, bytes.data() + offset, count))
                << count << " bytes at " << offset;
}

TEST_P(Crc32, may_be_continued_anywhere) {
    // Longer than a block of the table's streams.
    const std::string bytes = qx::test::randomBytes(40000, 12);
    const std::uint32_t whole = qx::plain::crcBitByBit(bytes.data(), bytes.size());
    for (std::size_t cut = 0; cut <= bytes.size(); cut += 977)
        EXPECT_EQ(whole, updated(updated(0, bytes.data(), cut), bytes.data() + cut, bytes.size() - cut));
}

}  // namespace
