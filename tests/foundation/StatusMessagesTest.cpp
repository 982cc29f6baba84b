#include "reference/files/PlainCrc.h"

#include <QxUtils/StatusCode.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

TEST(StatusMessages, unassigned_codes_have_none) {
    for (int code : {-1, 28, 38, 59, 999, 1095, INT_MAX, INT_MIN})
        EXPECT_EQ(nullptr, getStatusMessage(code)) << code;
}

// One line "code<tab>text" for each code.
TEST(StatusMessages, every_text_is_pinned_by_a_checksum) {
    std::string all;
    for (int code = -10; code < 1200; ++code) {
        if (const char* text = getStatusMessage(code))
            all += std::to_string(code) + '\t' + text + '\n';
    }
    EXPECT_EQ(7974u, all.size());
    EXPECT_EQ(0x940C08FEu, qx::plain::crcByTable(all.data(), all.size()));
}

}  // namespace
