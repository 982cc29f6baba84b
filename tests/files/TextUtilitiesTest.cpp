#include "DetectorFixture.h"

#include <QxUtils/Files.h>

#include <climits>
#include <sstream>

namespace {

using namespace std::string_literals;
using qx::test::printedBy;

// Splits a text and releases the result: the status, then every counted piece with '|' behind it.
std::string cut(const char* text, char separator) {
    char** out = nullptr;
    int count = text == nullptr ? 0 : -7;  // a null text leaves it open
    const int status = CutString(out, text, separator, count);
    if (out == nullptr || count < 0 || count > 40)
        return "no pieces";
    std::string pieces = std::to_string(status) + ' ';
    for (int i = 0; i < 40; ++i) {
        const std::string piece(out[i], 100);
        EXPECT_EQ(out[0] + 100 * i, out[i]);
        if (i < count)
            pieces += piece.c_str() + "|"s;
        const std::size_t end = i < count ? piece.find('\0') : 0;  // zeros follow; where a call fails the next is open
        EXPECT_TRUE(piece.find_first_not_of('\0', end) == std::string::npos || (status == 1020 && i == count)) << i;
    }
    deleteMemory(out[0]);
    EXPECT_EQ(nullptr, out[0]);
    deleteMemory2(out);
    EXPECT_EQ(nullptr, out);
    return pieces;
}

TEST(CutString, pieces_between_separators) {
    EXPECT_EQ("0 a|b||c|", cut("a,b,,c", ','));
    EXPECT_EQ("0 a|b|", cut("a,b,", ','));
    EXPECT_EQ("0 ", cut("", ','));
    EXPECT_EQ("0 ||", cut(",,", ','));
    EXPECT_EQ("0 |one two|", cut(",one two", ','));
    EXPECT_EQ("0 a|,|", cut("a\xFF,\xFF", '\xFF'));
    EXPECT_EQ("0 a,b|", cut("a,b", '\0'));
    EXPECT_EQ("1057 ", cut(nullptr, ','));
}

TEST(CutString, limits) {
    // The first pieces of a text are expected.
    const auto expectCut = [](const std::string& text, int status, int pieces) {
        std::string expected = text + ',';
        std::size_t end = 0;
        for (int i = 0; i < pieces; ++i)
            end = expected.find(',', end) + 1;
        std::replace(expected.begin(), expected.end(), ',', '|');
        EXPECT_EQ(std::to_string(status) + ' ' + expected.substr(0, end), cut(text.c_str(), ','));
    };
    const std::string longest(99, 'x');
    std::string forty, fullest;
    for (int i = 0; i < 40; ++i) {
        forty += static_cast<char>('0' + i) + ","s;
        fullest += longest + ',';
    }
    expectCut(forty, 0, 40);
    expectCut(forty + "x", 1020, 40);
    expectCut(forty + ",", 1020, 40);
    expectCut(longest, 0, 1);
    expectCut(longest + "x", 1020, 0);
    expectCut("a,b," + longest + "x,c", 1020, 2);
    expectCut(fullest.substr(0, 3999), 0, 40);
    expectCut(fullest, 1020, 0);
    expectCut(std::string(100000, ','), 1020, 0);
}

int positionOf(const char* text, int textLength, const char* pattern, int patternLength) {
    int position = -7;
    getStrPos(text, pattern, textLength, patternLength, position);
    return position;
}

TEST(GetStrPos, first_position_but_never_the_last) {
    const auto found = [](const std::string& text, const std::string& pattern) {
        const std::vector<char> exactText(text.begin(), text.end());
        return positionOf(exactText.data(), static_cast<int>(text.size()), pattern.data(),
                          static_cast<int>(pattern.size()));
    };
    EXPECT_EQ(1, found("abcd", "bc"));
    EXPECT_EQ(0, found("abcd", "ab"));
    EXPECT_EQ(1, found("xabxab", "ab"));
    EXPECT_EQ(2, found("aaabx", "ab"));
    EXPECT_EQ(3, found("a\0b\0cd"s, "\0c"s));
    EXPECT_EQ(0, found("abcd", ""));
    for (const char* pattern : {"cd", "d", "abcd", "abcde", "ac"})
        EXPECT_EQ(-1, found("abcd", pattern)) << pattern;
}

TEST(GetStrPos, lengths_decide_and_null_is_not_found) {
    EXPECT_EQ(1, positionOf("abcd", 4, "bx", 1));
    EXPECT_EQ(-1, positionOf("abcd", 2, "bx", 1));
    EXPECT_EQ(-1, positionOf("", 0, "", 0));
    for (const auto& [longer, shorter] : {std::pair(0, -1), {-5, -7}, {INT_MAX, -1}, {INT_MAX, INT_MIN}}) {
        EXPECT_EQ(0, positionOf("abcd", longer, "b", shorter)) << longer;
        EXPECT_EQ(-1, positionOf("abcd", shorter, "b", longer)) << longer;
    }
    EXPECT_EQ(-1, positionOf(nullptr, 4, "b", 1));
    EXPECT_EQ(-1, positionOf("abcd", 4, nullptr, 1));
}

TEST(CheckIp, published_lists) {
    const auto expectAll = [](int expected, const char* addresses) {
        std::istringstream words(addresses);
        for (std::string address; words >> address;)
            EXPECT_EQ(expected, checkIP(address.c_str())) << address;
    };
    expectAll(0, "0.0.0.0 255.255.255.255 192.168.1.10 9.9.9.9 10.20.30.40 99.100.199.200 1.2.3.42");
    expectAll(1020, ". ... .... bad 1234 127.1 1.2.3 1.2.3. .1.2.3 1..2.3 192.168.0.1. .192.168.0.1 1.2.3.4.5");
    expectAll(1020, "42.42.42.42... 256.1.1.1 192.168.0.256 192.168.0.999 192.168.12345.1 1.99999999999999999999.2.3");
    expectAll(1020,
              "192.168.01.10 1.2.3.040 1.1.1.099 00.0.0.0 1.1.1.00 000.000.000.000 0300.0250.0214.0377 012.1.1.1");
    expectAll(1020, "192.168.1.0/24 192.168.0.1:80 +1.2.3.4 -1.2.3.4 42.42.42.-0 1.2.3.4%eth0 0xc0.0xa8.0x8c.0xff");
    // A character counts as its distance from '0'.
    expectAll(0, "1.1.1./d /d./d./d./d 1.1.1.1: 1.1.1.10: 1.1.1.2/5 1.1.1.0a 1.1.1.1;2 1.1.1.24? 1.1.1.;\xFE");
    expectAll(1020, "1.1.1.a 1.1.1.: /.0.0.0 99.99.99.9: 1.1.1.25: \xE0\xA7\xA8.0.0.1");
    for (const char* address : {"", " 192.168.0.1", "192.168.0.1 ", "192.168.0.1\n", "192. 168.0.1"})
        EXPECT_EQ(1020, checkIP(address)) << address;
    EXPECT_EQ(1057, checkIP(nullptr));
}

using ImageBound = qx::test::DetectorFixture;

TEST_F(ImageBound, side_and_its_console_text) {
    static const char* const kTexts[] = {"top side.\n", "bottom side", "left side", "right side", "interval\n"};
    const auto expectSide = [](int expected, int width, int height, std::initializer_list<int> pixels) {
        for (int pixel : pixels) {
            const std::string text = "The pixel is " + std::to_string(pixel) + " and lies in " + kTexts[expected];
            for (int flag : {0, 1}) {
                setDebug(flag);
                const auto call = [&] { EXPECT_EQ(expected, ImageBoundCheck(pixel, width, height)) << pixel; };
                EXPECT_EQ(flag == 0 ? "" : text, printedBy(call));
            }
        }
    };
    expectSide(0, 10, 10, {0, 5, 9});
    expectSide(1, 10, 10, {90, 95, 99});
    expectSide(2, 10, 10, {10, 40, 80, -10, 100});
    expectSide(3, 10, 10, {19, 49, 89, -1, 109});
    expectSide(4, 10, 10, {11, 55, 88, -5, 105, INT_MAX});
    expectSide(0, 5, 1, {0, 2, 4});
    expectSide(2, 1, 5, {1, 3});
    expectSide(1, 1, 5, {4});
    expectSide(3, 2, 3, {3, INT_MAX});
    expectSide(4, 100000, 42951, {120000});  // the number of pixels leaves 32 bits
    expectSide(2, INT_MAX, INT_MAX, {INT_MAX});
    int pixel = 0, one = 1;
    for (int bad : {0, -1, INT_MIN}) {
        EXPECT_EQ(1020, ImageBoundCheck(pixel, bad, one)) << bad;
        EXPECT_EQ(1020, ImageBoundCheck(pixel, one, bad)) << bad;
    }
}

TEST(IntegerLists, membership) {
    const std::vector<int> none, list = {7, -3, INT_MIN, 7, 0};
    const auto expectMember = [](int expected, const std::vector<int>* searched, int value) {
        EXPECT_EQ(expected, isInVector(searched, value)) << value;
        EXPECT_EQ(1 - expected, isNewElement(searched, value)) << value;
    };
    for (const int value : list)
        expectMember(1, &list, value);
    expectMember(0, &list, 3);
    expectMember(0, &none, 0);
    expectMember(0, nullptr, 7);
}

TEST(DeleteMemory, array_goes_and_what_it_points_to_stays) {
    char* text = new char[2]{'a', '\0'};
    char** pointers = new char*[1];
    *pointers = text;
    deleteMemory2(pointers);
    EXPECT_EQ(nullptr, pointers);
    EXPECT_STREQ("a", text);
    deleteMemory(text);
    deleteMemory(text);  // null by now
    deleteMemory2(pointers);
    EXPECT_EQ(nullptr, text);
}

}  // namespace
