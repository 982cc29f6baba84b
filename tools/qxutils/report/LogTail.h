#pragma once

#include "files/TemporaryFolder.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {

// What is appended to the daily logs of the detector from the time of its making on. Where it keeps none it keeps one
// aside as long as this lives.
class LogTail {
public:
    LogTail();
    ~LogTail();
    LogTail(const LogTail&) = delete;
    LogTail& operator=(const LogTail&) = delete;

    // The lines so far; none where nothing is logged.
    std::vector<std::string> lines() const;

private:
    void logAside();

    std::optional<TemporaryFolder> aside_;
    std::string workDirectory_;  // before
    std::string folder_;
    std::map<std::string, std::int64_t> lengths_;  // of the logs that there were, by their names
};

}  // namespace qx::tool
