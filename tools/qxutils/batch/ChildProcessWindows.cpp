#if defined(_WIN32)

#include "batch/ChildProcess.h"
#include "batch/ChildVariables.h"

#include "common/ToolError.h"

#include <windows.h>

#include <array>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace qx::tool {
namespace {

// Two children that are started at the same time would inherit each other's ends.
std::mutex startMutex;

class Handle {
public:
    Handle() = default;
    ~Handle() { close(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    void close() {
        if (handle_ != nullptr)
            CloseHandle(handle_);
        handle_ = nullptr;
    }
    HANDLE* place() { return &handle_; }
    HANDLE get() const { return handle_; }

private:
    HANDLE handle_ = nullptr;
};

std::vector<wchar_t> programPath() {
    std::vector<wchar_t> path(MAX_PATH);
    while (GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())) == path.size())
        path.resize(2 * path.size());
    return path;
}

void makePipe(Handle& readEnd, Handle& writeEnd, const Handle& inherited) {
    if (CreatePipe(readEnd.place(), writeEnd.place(), nullptr, 0) == 0 ||
        SetHandleInformation(inherited.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT) == 0)
        throw ToolError("no pipe to another process can be made; close programs, or leave out --jobs");
}

HANDLE startProgram(const Handle& input, const Handle& output) {
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = input.get();
    start.hStdOutput = output.get();
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    std::wstring commandLine = GetCommandLineW();
    PROCESS_INFORMATION process{};
    const std::map<std::string, std::string> variables = childVariables();
    for (const auto& [name, value] : variables)
        SetEnvironmentVariableA(name.c_str(), value.c_str());
    const BOOL started = CreateProcessW(programPath().data(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        nullptr, &start, &process);
    for (const auto& [name, value] : variables)
        SetEnvironmentVariableA(name.c_str(), nullptr);
    if (started == 0)
        throw ToolError("no other process can be started; close programs, or leave out --jobs");
    CloseHandle(process.hThread);
    return process.hProcess;
}

}  // namespace

struct ChildProcess::Pipes {
    Handle input;
    Handle output;
    HANDLE process = nullptr;
};

void rememberArguments(int /*argc*/, char** /*argv*/) {}

ChildProcess::ChildProcess() : pipes_(std::make_unique<Pipes>()) {
    const std::lock_guard lock(startMutex);
    Handle childInput;
    Handle childOutput;
    makePipe(childInput, pipes_->input, childInput);
    makePipe(pipes_->output, childOutput, childOutput);
    pipes_->process = startProgram(childInput, childOutput);
}

ChildProcess::~ChildProcess() {
    pipes_->input.close();
    pipes_->output.close();
    WaitForSingleObject(pipes_->process, INFINITE);
    CloseHandle(pipes_->process);
}

bool ChildProcess::send(const std::string& bytes) {
    std::string_view rest = bytes;
    while (!rest.empty()) {
        DWORD count = 0;
        if (WriteFile(pipes_->input.get(), rest.data(), static_cast<DWORD>(rest.size()), &count, nullptr) == 0)
            return false;
        rest.remove_prefix(count);
    }
    return true;
}

bool ChildProcess::receive() {
    std::array<char, kReceivedBytes> bytes;
    DWORD count = 0;
    if (ReadFile(pipes_->output.get(), bytes.data(), bytes.size(), &count, nullptr) == 0 || count == 0)
        return false;
    received_.append(bytes.data(), count);
    return true;
}

}  // namespace qx::tool

#endif
