#include "reference/files/PlainCrc.h"

#include <QxUtils/StatusCode.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

TEST(StatusMessages, known_texts) {
    const struct {
        int code;
        const char* text;
    } cases[] = {{0, "Normal exit without an error."},
                 {3, "Map memory  failed."},
                 {53, ""},
                 {54, ""},
                 {58, "Have unending image to receive."},
                 {1001, "Unable to disconnect detector."},
                 {1035, "Error allocating memory."},
                 {1057, "String or array must not be empty"},
                 {1094, "The image was false triggered and useless"}};
    for (const auto& c : cases)
        EXPECT_STREQ(c.text, getStatusMessage(c.code)) << c.code;
    EXPECT_STREQ(getStatusMessage(1021), getStatusMessage(1051));
    EXPECT_STREQ(getStatusMessage(1060), getStatusMessage(1066));
}

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

// The checksum was taken from the published message list, one line "code<tab>text" for each code.
TEST(StatusMessages, all_of_the_texts_are_the_published_ones) {
    std::string all;
    for (int code = -10; code < 1200; ++code) {
        if (const char* text = getStatusMessage(code))
            all += std::to_string(code) + '\t' + text + '\n';
    }
    EXPECT_EQ(7974u, all.size());
    EXPECT_EQ(0x940C08FEu, qx::plain::crcByTable(all.data(), all.size()));
}

}  // namespace
