// Logs from the destructor of a global object, when everything that was made after it is gone, and looks whether the
// line is in the right place.

#include <QxUtils/Foundation.h>
#include <VirtualDetector.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

namespace fs = std::filesystem;

bool isLogged(const fs::path& folder, const std::string& text) {
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::ifstream file(entry.path());
        const std::string content((std::istreambuf_iterator<char>(file)), {});
        if (content.find(text) != std::string::npos)
            return true;
    }
    return false;
}

struct Host {
    fs::path work;

    ~Host() {
        if (work.empty())
            return;
        WriteLogFile(LogModuleUtils, LogInfo, "the host ends", kLogNoValue);
        if (!isLogged(work / "logs", "the host ends")) {
            std::fputs("the last line is not in the log\n", stderr);
            std::_Exit(1);
        }
    }
};

Host host;

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: qx_late_log <work directory>\n", stderr);
        return 2;
    }
    fs::remove_all(argv[1]);
    if (const std::string problem = qxkit::setDirectories(argv[1]); !problem.empty()) {
        std::fprintf(stderr, "%s\n", problem.c_str());
        return 2;
    }
    WriteLogFile(LogModuleUtils, LogInfo, "the host begins", kLogNoValue);
    host.work = argv[1];
    return 0;
}
