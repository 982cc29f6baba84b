#ifdef _WIN32

#include "watch/StopRequest.h"

#include "common/ToolError.h"

#include <windows.h>

namespace qx::tool {
namespace {

HANDLE requested = nullptr;

BOOL WINAPI noteRequest(DWORD /*event*/) {
    return SetEvent(requested);
}

}  // namespace

StopRequest::StopRequest() {
    requested = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (requested == nullptr)
        throw ToolError("no event can be made for the console's keys; close other programs");
    SetConsoleCtrlHandler(noteRequest, TRUE);
}

StopRequest::~StopRequest() {
    SetConsoleCtrlHandler(noteRequest, FALSE);
    CloseHandle(requested);
}

bool StopRequest::waitMs(int milliseconds) const {
    return WaitForSingleObject(requested, static_cast<DWORD>(milliseconds)) == WAIT_OBJECT_0;
}

int StopRequest::descriptor() const {
    return -1;
}

}  // namespace qx::tool

#endif
