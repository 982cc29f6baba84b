#pragma once

namespace qx::tool {

// Whether the user, or the system, wants the program to end: by the terminal's key, SIGINT or SIGTERM. It lets the work
// in hand end first. One object at a time.
class StopRequest {
public:
    StopRequest();
    ~StopRequest();
    StopRequest(const StopRequest&) = delete;
    StopRequest& operator=(const StopRequest&) = delete;

    bool isMade() const { return waitMs(0); }

    // Whether it is made before so many milliseconds are over.
    bool waitMs(int milliseconds) const;

    // Readable as soon as it is made; nothing of that kind on Windows.
    int descriptor() const;
};

}  // namespace qx::tool
