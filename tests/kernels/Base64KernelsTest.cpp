#include "Builders.h"
#include "reference/files/PlainBase64.h"

#include "kernels/Base64Kernels.h"
#include "levels/AtVectorLevel.h"

namespace {

using Base64Kernels = qx::test::AtVectorLevel;

INSTANTIATE_TEST_SUITE_P(Levels, Base64Kernels, qx::test::kVectorLevels, qx::test::levelName);

TEST_P(Base64Kernels, groups_equal_the_plain_method_and_nothing_behind_them_is_touched) {
    for (int groups = 0; groups <= 100; ++groups) {
        const std::string bytes = qx::test::randomBytes(static_cast<std::size_t>(groups) * 3, groups);
        const std::vector<unsigned char> exact(bytes.begin(), bytes.end());
        std::string text(static_cast<std::size_t>(groups) * 4 + 1, '#');
        qx::base64Kernels().encode(exact.data(), groups, text.data());
        ASSERT_EQ(qx::plain::encodedBase64(bytes) + '#', text) << groups;
    }
}

}  // namespace
