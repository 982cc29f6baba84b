#include "DetectorFixture.h"

#include <string>

#ifdef _WIN32
#include <process.h>
#else
#include <cstdlib>
#endif

namespace {

constexpr int kProcesses = 4;
constexpr int kWriters = 2 * kProcesses;
constexpr int kLinesEach = 3000;
const std::string kWriterPrefix = "Utils  | I | writer ";

using LogProcesses = qx::test::DetectorFixture;

// Runs the processes at the same time, two writers each; true when all of them succeed.
bool runWriters(const std::string& workDirectory) {
    const std::string program = (qx::test::programDirectory() / "qx_log_writer").string();
    const std::string processCount = std::to_string(kProcesses), count = std::to_string(kLinesEach);
#ifdef _WIN32
    std::vector<std::intptr_t> processes;
    for (int id = 0; id < kProcesses; ++id) {
        const std::string name = program + ".exe";
        processes.push_back(_spawnl(_P_NOWAIT, name.c_str(), name.c_str(), workDirectory.c_str(),
                                    std::to_string(id).c_str(), processCount.c_str(), count.c_str(), nullptr));
    }
    bool succeeded = true;
    for (const std::intptr_t process : processes) {
        int status = -1;
        succeeded = _cwait(&status, process, 0) != -1 && status == 0 && succeeded;
    }
    return succeeded;
#else
    std::string command = "pids=;";
    for (int id = 0; id < kProcesses; ++id) {
        command += " " QX_EMULATOR " '" + program + "' '" + workDirectory + "' " + std::to_string(id) + " " +
                   processCount + " " + count + " & pids=\"$pids $!\";";
    }
    command += " for pid in $pids; do wait $pid || exit 1; done";
    return std::system(command.c_str()) == 0;
#endif
}

// What the writer's line with that number looks like behind the time stamp.
std::string lineOf(int writer, int number) {
    return kWriterPrefix + std::to_string(writer) + std::string(number % 200, '.') + " line " + std::to_string(number);
}

TEST_F(LogProcesses, no_line_is_lost_or_torn) {
    ASSERT_TRUE(runWriters(detector().workDirectory));
    int next[kWriters] = {};
    for (const std::string& line : logLines()) {
        const int writer = line.size() > kWriterPrefix.size() ? line[kWriterPrefix.size()] - '0' : -1;
        ASSERT_TRUE(writer >= 0 && writer < kWriters) << line;
        ASSERT_EQ(lineOf(writer, next[writer]++), line);
    }
    for (const int count : next)
        EXPECT_EQ(kLinesEach, count);
}

}  // namespace
