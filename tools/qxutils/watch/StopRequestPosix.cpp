#ifndef _WIN32

#include "watch/StopRequest.h"

#include "common/ToolError.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace qx::tool {
namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM};

// What a signal's handler may do is write to a pipe.
std::array<int, 2> pipeEnds = {-1, -1};
std::array<struct sigaction, kSignals.size()> before;

void noteRequest(int /*signal*/) {
    const int error = errno;
    [[maybe_unused]] const ssize_t written = write(pipeEnds[1], "", 1);
    errno = error;
}

}  // namespace

StopRequest::StopRequest() {
    if (pipe(pipeEnds.data()) != 0)
        throw ToolError("no pipe can be made for signals; close other programs");
    for (const int end : pipeEnds) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], nullptr, &before[i]);
        struct sigaction action {};
        action.sa_handler = noteRequest;
        // What was ignored for the whole process, as a shell does for its background, stays so.
        if (before[i].sa_handler != SIG_IGN)
            sigaction(kSignals[i], &action, nullptr);
    }
}

StopRequest::~StopRequest() {
    for (std::size_t i = 0; i < kSignals.size(); ++i)
        sigaction(kSignals[i], &before[i], nullptr);
    for (const int end : pipeEnds)
        close(end);
}

bool StopRequest::waitMs(int milliseconds) const {
    pollfd request{descriptor(), POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&request, 1, milliseconds);
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

int StopRequest::descriptor() const {
    return pipeEnds[0];
}

}  // namespace qx::tool

#endif
