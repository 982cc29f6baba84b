#if !defined(_WIN32)

#include "batch/ChildProcess.h"
#include "batch/ChildVariables.h"

#include "common/ToolError.h"
#include "files/NativeFile.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <vector>

namespace qx::tool {
namespace {

char** programArguments = nullptr;

// Closed in the children that are started later.
struct Pipe {
    Descriptor readEnd;
    Descriptor writeEnd;

    Pipe() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw ToolError("no pipe to another process can be made; close programs, or leave out --jobs");
        readEnd = Descriptor(ends[0]);
        writeEnd = Descriptor(ends[1]);
    }
};

// The pipe of a child that died tells its thread by an error; what reads this process's results still ends it by going.
void blockClosedPipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

// What a child has in its environment beside this process's.
std::vector<std::string> addedVariables() {
    std::vector<std::string> added;
    for (const auto& [name, value] : childVariables())
        added.push_back(name + '=' + value);
    return added;
}

pid_t startProgram(const Pipe& input, const Pipe& output) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.readEnd.number(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output.writeEnd.number(), STDOUT_FILENO);
    // This thread blocks a signal, which children would inherit.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    // The first of two variables of one name counts.
    std::vector<std::string> added = addedVariables();
    std::vector<char*> environment;
    for (std::string& variable : added)
        environment.push_back(variable.data());
    for (char** variable = environ; *variable != nullptr; ++variable)
        environment.push_back(*variable);
    environment.push_back(nullptr);
    pid_t process = -1;
    const int error =
        posix_spawn(&process, "/proc/self/exe", &actions, &attributes, programArguments, environment.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw ToolError("no other process can be started; close programs, or leave out --jobs");
    return process;
}

}  // namespace

struct ChildProcess::Pipes {
    Pipe input;
    Pipe output;
    pid_t process = -1;
};

void rememberArguments(int /*argc*/, char** argv) {
    programArguments = argv;
}

ChildProcess::ChildProcess() : pipes_(std::make_unique<Pipes>()) {
    blockClosedPipeSignal();
    pipes_->process = startProgram(pipes_->input, pipes_->output);
    pipes_->input.readEnd.close();
    pipes_->output.writeEnd.close();
}

ChildProcess::~ChildProcess() {
    pipes_->input.writeEnd.close();
    pipes_->output.readEnd.close();
    waitpid(pipes_->process, nullptr, 0);
}

bool ChildProcess::send(const std::string& bytes) {
    return pipes_->input.writeEnd.write(bytes);
}

bool ChildProcess::receive() {
    std::array<char, kReceivedBytes> bytes;
    const std::size_t count = pipes_->output.readEnd.read(bytes.data(), bytes.size()).value_or(0);
    received_.append(bytes.data(), count);
    return count > 0;
}

}  // namespace qx::tool

#endif
