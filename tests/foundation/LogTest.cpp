#include "DetectorFixture.h"

#include <QxUtils/Files.h>
#include <QxUtils/Foundation.h>

#include <climits>

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

namespace fs = std::filesystem;
using qx::test::printedBy;
using Lines = std::vector<std::string>;

using LogFile = qx::test::DetectorFixture;
using ErrorLine = qx::test::DetectorFixture;
using RemoveLogFile = qx::test::DetectorFixture;

TEST_F(LogFile, every_module_has_its_tag) {
    for (int module = 0; module <= 9; ++module)
        EXPECT_EQ(0, WriteLogFile(module, LogWarning, "x", kLogNoValue));
    const Lines expected = {"ApiInv | W | x", "QxApi  | W | x", "Calib  | W | x", "Codec  | W | x", "Config | W | x",
                            "Corr   | W | x", "Net    | W | x", "SysMgt | W | x", "Utils  | W | x", "V1Api  | W | x"};
    EXPECT_EQ(expected, logLines());
}

TEST_F(LogFile, every_severity_has_its_letter) {
    setLogLevel(0);
    for (int severity = 0; severity <= 3; ++severity)
        EXPECT_EQ(0, WriteLogFile(LogModuleUtils, severity, "x", kLogNoValue));
    EXPECT_EQ((Lines{"Utils  | D | x", "Utils  | I | x", "Utils  | W | x", "Utils  | E | x"}), logLines());
}

TEST_F(LogFile, only_minus_1000_suppresses_the_value) {
    for (int value : {0, 7, -1, -999, -1000, -1001, INT_MAX, INT_MIN})
        EXPECT_EQ(0, WriteLogFile(LogModuleUtils, LogError, "v", value));
    EXPECT_EQ((Lines{"Utils  | E | v0", "Utils  | E | v7", "Utils  | E | v-1", "Utils  | E | v-999", "Utils  | E | v",
                     "Utils  | E | v-1001", "Utils  | E | v2147483647", "Utils  | E | v-2147483648"}),
              logLines());
}

TEST_F(LogFile, text_is_written_as_it_stands) {
    const std::string longText(20000, 'x');
    for (const std::string& text : {std::string(), std::string("100%s %d %n"), longText})
        EXPECT_EQ(0, WriteLogFile(LogModuleUtils, LogInfo, text.c_str(), kLogNoValue));
    EXPECT_EQ((Lines{"Utils  | I | ", "Utils  | I | 100%s %d %n", "Utils  | I | " + longText}), logLines());
}

// The order of the tests inside the operation shows in which of two faults is reported.
TEST_F(LogFile, first_fault_decides) {
    struct Case {
        int level, module, severity;
        const char* text;
        int expected;
    };
    const Case cases[] = {
        {1, 10, 0, nullptr, 1057},  // a null text goes before the module
        {1, 10, 0, "x", 1},         // the module goes before the level
        {1, -1, 1, "x", 1},         //
        {1, 8, 0, "x", 0},          // below the level
        {1, 8, -1, "x", 0},         // the level goes before the severity
        {1, 8, INT_MIN, "x", 0},    //
        {1, 8, 4, "x", 1},          //
        {-5, 8, -1, "x", 1},        // a lower level shows the negative severity
        {INT_MAX, 8, 3, "x", 0},    //
        {4, 8, 4, "x", 1},          //
        {5, 8, 4, "x", 0},          //
    };
    for (const Case& c : cases) {
        setLogLevel(c.level);
        EXPECT_EQ(c.expected, WriteLogFile(c.module, c.severity, c.text, kLogNoValue))
            << c.level << ' ' << c.module << ' ' << c.severity;
    }
    EXPECT_TRUE(logFiles().empty());
}

TEST_F(LogFile, switched_off_goes_before_everything) {
    detector().config.loggingEnabled = 0;
    EXPECT_EQ(-1, WriteLogFile(LogModuleUtils, LogInfo, nullptr, kLogNoValue));
    EXPECT_EQ(-1, WriteLogFile(10, 9, "x", kLogNoValue));
    EXPECT_FALSE(fs::exists(logFolder()));
}

TEST_F(LogFile, folder_is_made_before_the_module_is_looked_at) {
    EXPECT_EQ(1057, WriteLogFile(LogModuleUtils, LogInfo, nullptr, kLogNoValue));
    EXPECT_FALSE(fs::exists(logFolder()));
    EXPECT_EQ(1, WriteLogFile(10, LogInfo, "x", kLogNoValue));
    EXPECT_TRUE(fs::is_directory(logFolder()));
}

TEST_F(LogFile, unwritable_log_is_not_reported) {
    setWorkDirectory(folder() / "missing");
    EXPECT_EQ(0, WriteLogFile(LogModuleUtils, LogInfo, "x", kLogNoValue));
    EXPECT_FALSE(fs::exists(folder() / "missing"));
    setWorkDirectory(folder().path());
    qx::test::writeFile(logFolder(), "a file in the folder's place");
    EXPECT_EQ(0, WriteLogFile(LogModuleUtils, LogInfo, "x", kLogNoValue));
    EXPECT_EQ("a file in the folder's place", qx::test::readFile(logFolder()));
}

// What the code page of a Windows program lacks is refused, and names no folder that would be another one.
TEST_F(LogFile, lies_below_every_folder_that_the_detector_accepts) {
    const std::string before = detector().workDirectory;
    for (const char16_t* const name : {u"M\u00FCller", u"\u0416\u0434", u"\u65E5\u672C", u"\U0001F600"}) {
        const fs::path root = fs::path(folder().path()) / name;
        const std::string problem = qxkit::setDirectories(root);
#ifdef _WIN32
        EXPECT_TRUE(problem.empty() || (GetACP() != CP_UTF8 && (GetACP() != 1252 || name[1] != u'\u00FC'))) << problem;
#else
        EXPECT_EQ("", problem);
#endif
        if (!problem.empty()) {
            EXPECT_EQ(before, detector().workDirectory);
            EXPECT_FALSE(fs::exists(root));
            continue;
        }
        EXPECT_EQ(0, WriteLogFile(LogModuleUtils, LogInfo, "line", 7));
        EXPECT_EQ(0, writeImageToDisk(detector().offsetDirectory.c_str(), "file", "x", 1));
        ASSERT_TRUE(fs::is_directory(root / "logs")) << root;
        EXPECT_FALSE(fs::is_empty(root / "logs"));
        EXPECT_TRUE(fs::exists(root / "offset" / "file"));
        setWorkDirectory(folder().path());
    }
}

TEST_F(LogFile, nothing_stays_open_between_lines) {
    WriteLogFile(LogModuleUtils, LogInfo, "first", kLogNoValue);
    fs::remove_all(logFolder());
    WriteLogFile(LogModuleUtils, LogInfo, "second", kLogNoValue);
    EXPECT_EQ(Lines{"Utils  | I | second"}, logLines());
}

TEST_F(LogFile, wrong_module_and_severity_are_printed_under_the_debug_flag) {
    const auto badModule = [] { WriteLogFile(10, LogInfo, "x", kLogNoValue); };
    const auto badSeverity = [] { WriteLogFile(LogModuleUtils, 4, "x", kLogNoValue); };
    EXPECT_EQ("", printedBy(badModule) + printedBy(badSeverity));
    setDebug(1);
    EXPECT_EQ("The ModeId error,must be from 0 to 9.\n", printedBy(badModule));
    EXPECT_EQ("Write log file error,InfoType must be 0(D),1(I), 2(W) or 3(E).\n", printedBy(badSeverity));
    EXPECT_EQ("", printedBy([] { WriteLogFile(LogModuleUtils, LogInfo, "x", kLogNoValue); }));
}

TEST(LogLevel, starts_at_one_and_takes_any_number) {
    EXPECT_EQ(1, getLogLevel());
    for (int level : {0, 3, -7, INT_MIN, INT_MAX, 1}) {
        EXPECT_EQ(0, setLogLevel(level));
        EXPECT_EQ(level, getLogLevel());
    }
}

TEST(UtilDebug, every_change_is_printed) {
    EXPECT_EQ("Set util debug flag to 5 \n", printedBy([] { EXPECT_EQ(0, setUtilDebug(5)); }));
    EXPECT_EQ("Set util debug flag to 0 \n", printedBy([] { EXPECT_EQ(0, setUtilDebug(0)); }));
}

TEST_F(ErrorLine, names_the_source_and_the_line_in_99_characters) {
    const std::string longName(200, 'n');
    WriteErrorLine(LogModuleUtils, 1234, "Utilities");
    WriteErrorLine(LogModuleCorr, 7, "StripeSuppression");
    WriteErrorLine(LogModuleUtils, 5, longName.c_str());
    EXPECT_EQ((Lines{"Utils  | E | Error occur in Utilities,line 1234",
                     "Corr   | E | Error occur in StripeSuppression,line 7",
                     "Utils  | E | Error occur in " + longName.substr(0, 84)}),
              logLines());
}

TEST_F(RemoveLogFile, missing_folder_is_fine) {
    EXPECT_EQ(0, removeLogFile());
    EXPECT_FALSE(fs::exists(logFolder()));
    qx::test::writeFile(logFolder(), "x");
    EXPECT_EQ(0, removeLogFile());  // a file in its place is not the folder
    EXPECT_EQ("x", qx::test::readFile(logFolder()));
}

}  // namespace
