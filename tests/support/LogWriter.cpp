// Appends numbered lines to the daily log from two threads: one of several processes that share a log file.

#include <QxUtils/Foundation.h>
#include <VirtualDetector.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace {

// Returns once every process has come here, so that all write at the same time; false when one does not come.
bool awaitOthers(const std::filesystem::path& folder, int id, int processes) {
    using Clock = std::chrono::steady_clock;
    const auto sign = [&](int i) { return folder / ("ready-" + std::to_string(i)); };
    std::ofstream(sign(id)).put('x');
    const Clock::time_point deadline = Clock::now() + std::chrono::seconds(60);
    for (int i = 0; i < processes;) {
        if (std::filesystem::exists(sign(i)))
            ++i;
        else if (Clock::now() > deadline)
            return false;
        else
            std::this_thread::yield();
    }
    return true;
}

// Lines of different lengths, so that a torn one cannot look whole by chance.
bool writeLines(int writer, int count) {
    for (int i = 0; i < count; ++i) {
        const std::string text = "writer " + std::to_string(writer) + std::string(i % 200, '.') + " line ";
        if (WriteLogFile(LogModuleUtils, LogInfo, text.c_str(), i) != 0)
            return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fputs("usage: qx_log_writer <work directory> <process> <processes> <count>\n", stderr);
        return 2;
    }
    qxkit::virtualDetector().workDirectory = argv[1];
    qxkit::virtualDetector().config.loggingEnabled = 1;
    const int process = std::atoi(argv[2]);
    const int count = std::atoi(argv[4]);
    if (!awaitOthers(qxkit::nativePath(argv[1]), process, std::atoi(argv[3])))
        return 1;
    bool otherSucceeds = false;
    std::thread other([&] { otherSucceeds = writeLines(2 * process + 1, count); });
    const bool succeeds = writeLines(2 * process, count);
    other.join();
    return succeeds && otherSucceeds ? 0 : 1;
}
