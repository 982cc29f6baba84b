#pragma once

#include <chrono>
#include <cstddef>

namespace qx::tool {

// A line on a terminal's standard error: files done, files a second, time left. None when standard error is no
// terminal.
class Progress {
public:
    Progress(std::size_t files, bool isQuiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void fileDone();

    // Takes the line away, so that another one can be written.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    void show();

    std::size_t files_;
    std::size_t done_ = 0;
    bool isShown_;
    Clock::time_point begin_ = Clock::now();
    Clock::time_point shownAt_ = begin_;
};

}  // namespace qx::tool
