#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace qx::tool {

// Remembers how the program was started; the first thing that main does.
void rememberArguments(int argc, char** argv);

// Whether this process was started as a ChildProcess by another one.
bool isChildProcess();

// Another process of this program with the same arguments at the other end of its standard input and output. Its
// results are coloured and as wide as this one's would be. It ends when its input ends. Different objects may be used
// by different threads.
class ChildProcess {
public:
    // Throws a ToolError when no process can be started.
    ChildProcess();
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Sends bytes; false when it is gone.
    bool send(const std::string& bytes);

    // Its next line, without the line end; nothing when it is gone.
    std::optional<std::string> receiveLine();

private:
    static constexpr std::size_t kReceivedBytes = 1 << 14;

    // Takes what there is next from it; false when it is gone.
    bool receive();

    struct Pipes;
    std::unique_ptr<Pipes> pipes_;
    std::string received_;
};

}  // namespace qx::tool
