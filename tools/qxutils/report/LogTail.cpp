#include "report/LogTail.h"

#include "detector/DetectorSetup.h"

#include <QxSysMgt.h>

#include <filesystem>
#include <fstream>
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

LogTail::LogTail() : folder_(logFolder()), lengths_(logLengths(folder_)) {}

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
