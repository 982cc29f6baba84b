#include "harness/Program.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace qx::bench {
namespace {

class NoStreams {
public:
    NoStreams() {
        posix_spawn_file_actions_init(&actions_);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0);
    }
    ~NoStreams() { posix_spawn_file_actions_destroy(&actions_); }
    NoStreams(const NoStreams&) = delete;
    NoStreams& operator=(const NoStreams&) = delete;

    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

}  // namespace

int runProgram(const std::vector<std::string>& command) {
    std::vector<std::string> words = command;
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const NoStreams streams;
    pid_t process = 0;
    if (const int error = posix_spawn(&process, arguments[0], streams.get(), nullptr, arguments.data(), environ))
        throw std::system_error(error, std::generic_category(), command[0]);
    int status = 0;
    if (waitpid(process, &status, 0) != process)
        throw std::system_error(errno, std::generic_category(), command[0]);
    if (!WIFEXITED(status))
        throw std::runtime_error(command[0] + " was ended by a signal");
    return WEXITSTATUS(status);
}

}  // namespace qx::bench
