#pragma once

#include "DetectorFixture.h"
#include "FailingAllocator.h"

#include <QxSysMgt.h>

#include <functional>

namespace qx::test {

// Lets every allocation of an operation fail once.
class FaultFixture : public DetectorFixture {
protected:
    // Runs `call` once for each of its allocations, which fails then; `check` sees what every such run returned.
    // Returns how many allocations the call makes.
    template <class Result>
    static long failEach(const std::function<Result()>& call, const std::function<void(Result)>& check) {
        // The kit keeps each text that it hands out, from the first time on: its memory is not the operation's.
        for (char* (*const text)() :
             {getWorkDir, getOfstImgDir, getGainImgDir, getDefectImgDir, getTempImgDir, getMachineID})
            text();
        for (long failing = 1;; ++failing) {
            failAllocation(failing);
            const Result result = call();
            if (!stopFailing())
                return failing - 1;
            check(result);
        }
    }

    // The results of the runs that fail.
    static std::vector<int> failures(const std::function<int()>& call) {
        std::vector<int> results;
        results.reserve(1000);
        failEach<int>(call, [&](int result) { results.push_back(result); });
        return results;
    }

    // Every run that fails answers with 1035 and leaves the output; the one that succeeds does neither. Lines of the
    // log take memory of their own, which matters to nothing: without them only the operation's fails. Returns how
    // many allocations the operation makes.
    template <class Output>
    static long expectRefused(const std::function<int()>& call, const Output& output) {
        setLogLevel(4);
        const Output before = output;
        int last = 0;
        const long count = failEach<int>([&] { return last = call(); },
                                         [&](int result) {
                                             EXPECT_EQ(1035, result);
                                             EXPECT_TRUE(before == output);
                                         });
        EXPECT_EQ(0, last);
        EXPECT_FALSE(before == output);
        setLogLevel(1);
        return count;
    }

    // The last two lines of the log of every run that answers with 1035; `check` sees every run that fails.
    std::vector<std::string> refusals(
        const std::function<int()>& call, const std::function<void(int)>& check = [](int) {}) const {
        std::vector<std::string> found;
        failEach<int>(call, [&](int result) {
            check(result);
            if (result == 0)
                return;
            EXPECT_EQ(1035, result);
            const std::vector<std::string> lines = logLines();
            found.push_back(lines.size() < 2 ? "" : lines[lines.size() - 2] + "; " + lines.back());
        });
        return found;
    }
};

}  // namespace qx::test
