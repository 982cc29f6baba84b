#include "DetectorFixture.h"

#include <map>
#include <regex>

#ifdef _WIN32
#include <process.h>
#else
#include <cstdlib>
#endif

namespace {

constexpr int kWriters = 4;
constexpr int kLinesEach = 500;

using LogProcesses = qx::test::DetectorFixture;

// Runs the writers at the same time; true when all of them succeed.
bool runWriters(const std::string& workDirectory) {
    const std::string program = (qx::test::programDirectory() / "qx_log_writer").string();
    const std::string count = std::to_string(kLinesEach);
#ifdef _WIN32
    std::vector<std::intptr_t> processes;
    for (int id = 0; id < kWriters; ++id) {
        const std::string name = program + ".exe";
        processes.push_back(_spawnl(_P_NOWAIT, name.c_str(), name.c_str(), workDirectory.c_str(),
                                    std::to_string(id).c_str(), count.c_str(), nullptr));
    }
    bool succeeded = true;
    for (const std::intptr_t process : processes) {
        int status = -1;
        succeeded = _cwait(&status, process, 0) != -1 && status == 0 && succeeded;
    }
    return succeeded;
#else
    std::string command = "pids=;";
    for (int id = 0; id < kWriters; ++id) {
        command +=
            " '" + program + "' '" + workDirectory + "' " + std::to_string(id) + " " + count + " & pids=\"$pids $!\";";
    }
    command += " for pid in $pids; do wait $pid || exit 1; done";
    return std::system(command.c_str()) == 0;
#endif
}

TEST_F(LogProcesses, no_line_is_lost_or_torn) {
    ASSERT_TRUE(runWriters(detector().workDirectory));
    std::map<std::string, int> next;
    const std::regex pattern(R"(Utils  \| I \| writer (\d)(\.*) line (\d+))");
    for (const std::string& line : logLines()) {
        std::smatch parts;
        ASSERT_TRUE(std::regex_match(line, parts, pattern)) << line;
        const int number = std::stoi(parts[3]);
        EXPECT_EQ(next[parts[1]]++, number);
        EXPECT_EQ(number % 200, parts[2].length());
    }
    ASSERT_EQ(static_cast<std::size_t>(kWriters), next.size());
    for (const auto& [writer, count] : next) {
        EXPECT_EQ(kLinesEach, count) << "writer " << writer;
    }
}

}  // namespace
