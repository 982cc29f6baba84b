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

TEST(StatusMessages, codes_that_have_one_are_walked_in_ascending_order) {
    int index = 0;
    for (int code = 0; code < 1200; ++code) {
        if (getStatusMessage(code) == nullptr)
            continue;
        EXPECT_EQ(code, getStatusCodeAt(index++));
    }
    for (const int outside : {-1, index, INT_MAX, INT_MIN})
        EXPECT_EQ(-1, getStatusCodeAt(outside)) << outside;
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
