// Appends numbered lines to the daily log: one of several processes that share a log file.

#include <QxUtils/Foundation.h>
#include <VirtualDetector.h>

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("usage: qx_log_writer <work directory> <writer id> <count>\n", stderr);
        return 2;
    }
    qxkit::virtualDetector().workDirectory = argv[1];
    qxkit::virtualDetector().config.loggingEnabled = 1;
    // Lines of different lengths, so that a torn one cannot look whole by chance.
    const int count = std::atoi(argv[3]);
    for (int i = 0; i < count; ++i) {
        const std::string text = std::string("writer ") + argv[2] + std::string(i % 200, '.') + " line ";
        if (WriteLogFile(LogModuleUtils, LogInfo, text.c_str(), i) != 0)
            return 1;
    }
    return 0;
}
