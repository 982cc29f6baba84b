#include "report/LogTail.h"

#include "common/ToolError.h"
#include "detector/DetectorSetup.h"
#include "files/WholeFile.h"

#include <QxSysMgt.h>

#include <filesystem>
#include <fstream>
#include <new>
#include <system_error>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

std::string logFolder() {
    const char* const work = getWorkDir();
    return work == nullptr || !hasVirtualDetector() ? "" : nativePath(std::string(work) + "logs").string();
}

std::map<std::string, std::int64_t> logLengths(const std::string& folder) {
    std::map<std::string, std::int64_t> lengths;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (entry.path().extension() == ".log" && entry.is_regular_file(error))
            lengths[entry.path().string()] = static_cast<std::int64_t>(entry.file_size(error));
    }
    return lengths;
}

}  // namespace

LogTail::LogTail() {
    if (hasVirtualDetector() && virtualDetector().config.loggingEnabled == 0 && !writePolicy().dryRun)
        logAside();
    folder_ = logFolder();
    lengths_ = logLengths(folder_);
}

LogTail::~LogTail() {
    if (!aside_)
        return;
    virtualDetector().config.loggingEnabled = 0;
    virtualDetector().workDirectory.swap(workDirectory_);
    try {
        std::error_code error;
        fs::remove_all(folder_, error);
    } catch (const std::bad_alloc&) {
        // What is left lies among temporary files.
    }
}

// Not without a folder that the library can name: the log is the least of a report.
void LogTail::logAside() {
    try {
        aside_.emplace();
    } catch (const ToolError&) {
        return;
    }
    std::string place = aside_->add("");
    workDirectory_.swap(virtualDetector().workDirectory);
    virtualDetector().workDirectory.swap(place);
    virtualDetector().config.loggingEnabled = 1;
}

std::vector<std::string> LogTail::lines() const {
    std::vector<std::string> lines;
    for (const auto& [path, length] : logLengths(folder_)) {
        const auto before = lengths_.find(path);
        std::ifstream file(path);
        file.exceptions(std::ios::badbit);
        // A log that became shorter was begun again.
        if (before != lengths_.end() && before->second <= length)
            file.seekg(before->second);
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
    }
    return lines;
}

}  // namespace qx::tool
