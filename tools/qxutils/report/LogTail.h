#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace qx::tool {

// What is appended to the daily logs of the detector from the time of its making on.
class LogTail {
public:
    LogTail();

    // The lines so far; none where nothing is logged.
    std::vector<std::string> lines() const;

private:
    std::string folder_;
    std::map<std::string, std::int64_t> lengths_;  // of the logs that there were, by their names
};

}  // namespace qx::tool
