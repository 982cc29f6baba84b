// What depends on the date: log names, log lines, time texts and the removal of old logs.

#include "DetectorFixture.h"

#include "foundation/Log.h"
#include "platform/Clock.h"

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <tuple>

namespace {

using namespace qx;
using namespace qx::test;

LocalTime pretended{};

class AtPretendedTime : public DetectorFixture {
protected:
    AtPretendedTime() {
        pretended = {2024, 3, 7, 9, 5, 3, 42};
        setClock([] { return pretended; });
    }
    ~AtPretendedTime() override { setClock(nullptr); }

    std::string lineWrittenAt(int millisecond) {
        pretended.millisecond = millisecond;
        EXPECT_EQ(0, WriteLogFile(8, 1, "<checkPreImg> terminates with a return value ", 0));
        return stampedLogLines().back();
    }
};

#ifndef _WIN32
// A zone of 5 h 30 min ahead of universal time, set aside when the test ends.
class SystemClock : public ::testing::Test {
protected:
    SystemClock() : before_(zone()) { setZone("QXT-5:30"); }
    ~SystemClock() override { setZone(before_ ? before_->c_str() : nullptr); }

    static void setZone(const char* zone) {
        zone != nullptr ? setenv("TZ", zone, 1) : unsetenv("TZ");
        tzset();
    }

private:
    static std::optional<std::string> zone() {
        const char* const name = std::getenv("TZ");
        return name != nullptr ? std::optional<std::string>(name) : std::nullopt;
    }

    std::optional<std::string> before_;
};

TEST_F(SystemClock, tells_the_zones_time_to_the_millisecond) {
    using namespace std::chrono;
    const auto parts = [](const LocalTime& t) {
        return std::tuple(t.year, t.month, t.day, t.hour, t.minute, t.second, t.millisecond);
    };
    const auto now = [] { return floor<milliseconds>(system_clock::now() + hours(5) + minutes(30)); };
    for (int i = 0; i < 20'000;) {
        const auto before = now();
        const LocalTime told = localTime();
        if (now() != before || before.time_since_epoch().count() % 10 == 0)
            continue;
        const auto day = floor<days>(before);
        const year_month_day date(day);
        const hh_mm_ss time(before - day);
        EXPECT_EQ(std::tuple(int{date.year()}, static_cast<int>(unsigned{date.month()}),
                             static_cast<int>(unsigned{date.day()}), static_cast<int>(time.hours().count()),
                             static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
                             static_cast<int>(time.subseconds().count())),
                  parts(told));
        ++i;
    }
}
#endif

TEST_F(AtPretendedTime, log_line_carries_the_padded_time) {
    const std::string text = " | Utils  | I | <checkPreImg> terminates with a return value 0";
    EXPECT_EQ("2024/03/07-09:05:03.042" + text, lineWrittenAt(42));
    EXPECT_EQ("2024/03/07-09:05:03.007" + text, lineWrittenAt(7));
    EXPECT_EQ("2024/03/07-09:05:03.999" + text, lineWrittenAt(999));
    logInfo(kLogNoValue, "%s", std::string(2000, 'x').c_str());
    EXPECT_EQ("Utils  | I | " + std::string(1023, 'x'), logLines().back());
}

TEST_F(AtPretendedTime, every_day_has_its_log) {
    lineWrittenAt(0);
    pretended.day = 12;
    pretended.month = 11;
    lineWrittenAt(0);
    ASSERT_EQ(2u, logFiles().size());
    EXPECT_EQ("2024-03-07.log", logFiles()[0].filename());
    EXPECT_EQ("2024-11-12.log", logFiles()[1].filename());
}

TEST_F(AtPretendedTime, work_directory_that_is_too_long_has_no_log) {
    pretended.year = 1999;
    detector().workDirectory = std::string(300, 'x') + '\\';
    EXPECT_EQ(0, WriteLogFile(8, 1, "nowhere", 0));
    EXPECT_FALSE(std::filesystem::exists("1999-03-07.log"));
}

TEST_F(AtPretendedTime, time_texts_are_padded) {
    char stamp[15];
    char text[20];
    setTimeStamp(stamp);
    getLocalTimeStr(text);
    EXPECT_STREQ("20240307090503", stamp);
    EXPECT_STREQ("2024-03-07 09:05:03", text);
}

TEST_F(AtPretendedTime, logs_older_than_thirty_approximate_days_are_removed) {
    pretended = {2024, 3, 1, 0, 0, 0, 0};
    const std::vector<std::string> kept = {"2024-01-31.log", "2024-02-29.log",  "2025-01-01.log",
                                           "notes.log",      "2024_01-01.log",  "2024-01x01.log",
                                           "2001-1-01.log",  "20010-01-01.log", "2001-01"};
    // Letters count as 0.
    const std::vector<std::string> removed = {"2024-01-30.log",     "2023-12-31.log", "2001-01-01",
                                              "2024-01-01-old.txt", "2024-01-",       "your-my-notes.txt"};
    std::filesystem::create_directories(logFolder() / "2020-01-01");
#ifndef _WIN32
    // '\\' separates in the library's paths, so that this name would name another file.
    writeFile(logFolder() / "2020-01-01" / "inner", "x");
    writeFile(logFolder() / "2020-01-01\\inner", "x");
#endif
    for (const auto* names : {&kept, &removed})
        for (const std::string& name : *names)
            writeFile(logFolder() / name, "x");
    EXPECT_EQ(0, removeLogFile());
    for (const std::string& name : kept)
        EXPECT_TRUE(std::filesystem::exists(logFolder() / name)) << name;
    for (const std::string& name : removed)
        EXPECT_FALSE(std::filesystem::exists(logFolder() / name)) << name;
    EXPECT_TRUE(std::filesystem::is_directory(logFolder() / "2020-01-01"));
#ifndef _WIN32
    EXPECT_TRUE(std::filesystem::exists(logFolder() / "2020-01-01" / "inner"));
    EXPECT_TRUE(std::filesystem::exists(logFolder() / "2020-01-01\\inner"));
#endif
    // A year has 365 days.
    pretended = {2025, 1, 5, 0, 0, 0, 0};
    for (const char* const name : {"2024-12-10.log", "2024-12-09.log"})
        writeFile(logFolder() / name, "x");
    EXPECT_EQ(0, removeLogFile());
    EXPECT_TRUE(std::filesystem::exists(logFolder() / "2024-12-10.log"));
    EXPECT_FALSE(std::filesystem::exists(logFolder() / "2024-12-09.log"));
}

}  // namespace
