#include "batch/Progress.h"

#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace qx::tool {
namespace {

constexpr std::chrono::milliseconds kPause(200);

bool isErrorTerminal() {
#if defined(_WIN32)
    return _isatty(2) != 0;
#else
    return isatty(2) != 0;
#endif
}

}  // namespace

Progress::Progress(std::size_t files, bool isQuiet)
    : files_(files), isShown_(!isQuiet && files > 1 && isErrorTerminal()) {}

Progress::~Progress() {
    clear();
}

void Progress::fileDone() {
    ++done_;
    const Clock::time_point now = Clock::now();
    if (isShown_ && now - shownAt_ >= kPause) {
        shownAt_ = now;
        show();
    }
}

void Progress::show() {
    const double seconds = std::chrono::duration<double>(shownAt_ - begin_).count();
    const double perSecond = static_cast<double>(done_) / seconds;
    std::fprintf(stderr, "\r\033[K%zu of %zu files, %.1f a second, %.0f s left", done_, files_, perSecond,
                 static_cast<double>(files_ - done_) / perSecond);
    std::fflush(stderr);
}

void Progress::clear() {
    if (isShown_)
        std::fputs("\r\033[K", stderr);
}

}  // namespace qx::tool
