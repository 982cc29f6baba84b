#include "batch/Workers.h"

#include "batch/ChildProcess.h"
#include "batch/ChildVariables.h"
#include "batch/OutputNames.h"
#include "files/OwnOutputs.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <iostream>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace qx::tool {
namespace {

constexpr const char* kDigits = "0123456789abcdef";

// A name may hold any byte, also a line end.
std::string wordOfName(const std::string& name) {
    std::string line;
    for (const char letter : name) {
        const auto byte = static_cast<unsigned char>(letter);
        line += kDigits[byte >> 4];
        line += kDigits[byte & 0xF];
    }
    return line;
}

std::string nameOfWord(const std::string& line) {
    const auto valueOf = [](char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; };
    std::string name;
    for (std::size_t i = 0; i + 1 < line.size(); i += 2)
        name += static_cast<char>(valueOf(line[i]) * 16 + valueOf(line[i + 1]));
    return name;
}

// The files still to judge, and what has come of the others.
class Queue {
public:
    explicit Queue(std::size_t count) : outcomes_(count) {}

    std::optional<std::size_t> next() {
        const std::lock_guard lock(mutex_);
        return next_ < outcomes_.size() ? std::optional(next_++) : std::nullopt;
    }

    void put(std::size_t index, Outcome outcome) {
        const std::lock_guard lock(mutex_);
        outcomes_[index] = std::move(outcome);
        isThere_.notify_all();
    }

    // Nobody waits for those that are left.
    void end() {
        const std::lock_guard lock(mutex_);
        next_ = outcomes_.size();
    }

    // Waits for it.
    Outcome take(std::size_t index) {
        std::unique_lock lock(mutex_);
        isThere_.wait(lock, [&] { return outcomes_[index].has_value(); });
        return *std::exchange(outcomes_[index], std::nullopt);
    }

private:
    std::mutex mutex_;
    std::condition_variable isThere_;
    std::vector<std::optional<Outcome>> outcomes_;
    std::size_t next_ = 0;
};

// One process, and the next one when it has died.
class Worker {
public:
    explicit Worker(const std::string& command) : command_(command) {}

    Outcome judge(const std::string& file) {
        constexpr int kAttempts = 2;
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            try {
                if (const auto outcome = askProcess(file, attempt > 0))
                    return *outcome;
            } catch (const std::bad_alloc&) {
                return failedOutcome(command_, file, file + ": out of memory; leave out --jobs");
            } catch (const std::exception& error) {
                return failedOutcome(command_, file, file + ": " + error.what());
            }
        }
        return failedOutcome(command_, file, file + ": the process that judges it died twice; try it without --jobs");
    }

private:
    // What the process before has made is this one's own.
    std::optional<Outcome> askProcess(const std::string& file, bool isAgain) {
        std::string line = wordOfName(file);
        for (const std::string& made : isAgain ? newOutputs(file) : std::vector<std::string>())
            line += ' ' + wordOfName(made);
        if (!process_)
            process_ = std::make_unique<ChildProcess>();
        if (process_->send(line + '\n')) {
            if (const auto answer = process_->receiveLine())
                return outcomeFromLine(*answer);
        }
        process_.reset();
        return std::nullopt;
    }

    const std::string& command_;
    std::unique_ptr<ChildProcess> process_;
};

}  // namespace

void judgeInProcesses(const std::vector<std::string>& files, int jobs, const std::string& command,
                      const std::function<void(const Outcome&)>& handOver) {
    Queue queue(files.size());
    std::vector<std::jthread> threads;
    for (int job = 0; job < std::min<int>(jobs, static_cast<int>(files.size())); ++job) {
        threads.emplace_back([&] {
            Worker worker(command);
            while (const auto index = queue.next())
                queue.put(*index, worker.judge(files[*index]));
        });
    }
    try {
        for (std::size_t index = 0; index < files.size(); ++index)
            handOver(queue.take(index));
    } catch (...) {
        queue.end();
        throw;
    }
}

void serveParent(const std::function<Outcome(const std::string& file)>& judge) {
    lookAsParent();
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string file;
        std::getline(words, file, ' ');
        std::vector<std::string> own;
        for (std::string word; words >> word;)
            own.push_back(nameOfWord(word));
        takeForOwn(own);
        std::cout << toLine(judge(nameOfWord(file))) << std::endl;
    }
}

}  // namespace qx::tool
