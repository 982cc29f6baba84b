#include "Compare.h"

#include <QxUtils/Foundation.h>

#include <chrono>
#include <climits>
#include <ctime>
#include <iomanip>
#include <sstream>
#include <string>
#include <utility>

namespace {

// The local time in a strftime format; a text function is right when it agrees before or after its call. std::time may
// lag behind by a clock tick.
std::string localTime(const char* format) {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::ostringstream text;
    text << std::put_time(std::localtime(&now), format);
    return text.str();
}

TEST(TimeTexts, hold_digits_or_date_and_time) {
    constexpr std::pair<void (*)(char*), const char*> kTexts[] = {{setTimeStamp, "%Y%m%d%H%M%S"},
                                                                  {getLocalTimeStr, "%Y-%m-%d %H:%M:%S"}};
    for (const auto& [write, format] : kTexts) {
        std::string text(40, '#');
        const std::string before = localTime(format);
        write(text.data());
        const std::string after = localTime(format);
        const std::size_t end = before.size() + 1;
        EXPECT_TRUE(text.c_str() == before || text.c_str() == after)
            << text << " is neither " << before << " nor " << after;
        EXPECT_EQ(std::string(40 - end, '#'), text.substr(end)) << "written behind the end";
        write(nullptr);
    }
}

TEST(TimeCounter, difference_is_taken_in_32_bits) {
    const struct {
        long start, end;
        double expected;
    } cases[] = {{1000, 3500, 2.5},         {3500, 1000, -2.5},         {0, 0, 0.0},
                 {INT_MAX, INT_MIN, 0.001},  // the counter wrapped
                 {-6, 10, 0.016},           {0, INT_MIN, -2147483.648}, {static_cast<long>(4294967290u), 10, 0.016}};
    for (auto c : cases) {
        double seconds = -1;
        EXPECT_TRUE(qx::test::sameBits(c.expected, GetTimeCounter(c.start, c.end, seconds)));
        EXPECT_TRUE(qx::test::sameBits(c.expected, seconds));
    }
}

TEST(Version, name_fills_sixteen_columns) {
    EXPECT_STREQ("QxUtils :       4.9.0.0", getQxUtilsDllVersion());
    EXPECT_EQ(getQxUtilsDllVersion(), getQxUtilsDllVersion());
}

}  // namespace
