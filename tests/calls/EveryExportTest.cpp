// What holds for every export alike: it has a call in the table, needs little stack, and runs beside others.

#include "EveryExport.h"
#include "Builders.h"
#include "SmallThread.h"

#include <QxSysMgt.h>
#include <QxUtils.h>
#include <VirtualDetector.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <iterator>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace {

using namespace qx::test;
namespace fs = std::filesystem;

constexpr std::size_t kKiB = 1024;

class EveryExport : public ::testing::Test {
protected:
    EveryExport() { prepareDetector(root()); }
    ~EveryExport() override { qxkit::resetVirtualDetector(); }

    const std::string& root() const { return root_.path(); }

    // A directory of that name, for one call at a time.
    std::string directory(const std::string& name) const {
        fs::create_directories(root() + name);
        return root() + name + '/';
    }

private:
    TemporaryDirectory root_;
};

TEST_F(EveryExport, has_a_call_of_its_own) {
    std::vector<std::string> called;
    std::transform(everyExport().begin(), everyExport().end(), std::back_inserter(called),
                   [](const ExportCall& entry) { return entry.signature; });
    std::sort(called.begin(), called.end());
    std::vector<std::string> exported = splitLines(readFile(QXUTILS_EXPORTS));
    std::sort(exported.begin(), exported.end());
    EXPECT_FALSE(exported.empty());
    EXPECT_EQ(exported, called);
}

// The bytes are those of the library, of the kit's substitute and of the C runtime together.
TEST_F(EveryExport, needs_no_more_than_32_kib_of_stack) {
#if !defined(__OPTIMIZE__) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "frames of code that is instrumented, or not optimised, are larger";
#endif
    constexpr std::size_t kMeasured = 448 * kKiB;
    const std::string dir = directory("stack");
    for (const ExportCall& entry : everyExport()) {
        std::size_t taken = kMeasured;
        double result = entry.result;
        ASSERT_TRUE(runWithStack(kMeasured + 64 * kKiB,
                                 [&] { taken = stackTakenBy([&] { result = entry.call(dir); }, kMeasured); }));
        EXPECT_EQ(entry.result, result) << entry.signature;
        ASSERT_LE(taken, 32 * kKiB) << entry.signature;
        ASSERT_TRUE(runWithStack(64 * kKiB, [&] { result = entry.call(dir); }));
        EXPECT_EQ(entry.result, result) << entry.signature << ", with 64 KiB of stack";
    }
}

constexpr std::size_t kThreads = 4;

// Where so many threads wait for each other, again and again. Not every runtime's std::barrier wakes all of them.
class Gate {
public:
    // The last one to arrive calls `opens`, while the others wait.
    template <class Opens>
    void wait(Opens opens) {
        std::unique_lock lock(mutex_);
        const std::size_t round = round_;
        if (++arrived_ < kThreads) {
            opened_.wait(lock, [&] { return round_ != round; });
            return;
        }
        opens();
        arrived_ = 0;
        ++round_;
        opened_.notify_all();
    }
    void wait() {
        wait([] {});
    }

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    std::size_t arrived_ = 0;
    std::size_t round_ = 0;
};

std::vector<const ExportCall*> callsWith(Company company) {
    std::vector<const ExportCall*> calls;
    for (const ExportCall& entry : everyExport())
        if (entry.company == company)
            calls.push_back(&entry);
    return calls;
}

// Rounds in step, where nothing but an export's own locks orders what the threads do inside it, and rounds in which
// each thread is at another export. What may not run beside itself is called by one thread, now and then.
TEST_F(EveryExport, runs_beside_itself_and_every_other) {
    constexpr std::size_t kRounds = 4;
    constexpr std::size_t kSeldom = 16;
    const std::vector<const ExportCall*> calls = callsWith(Company::All);
    const std::vector<const ExportCall*> single = callsWith(Company::Others);
    ASSERT_EQ(2u, single.size());
    std::vector<std::string> wrong[kThreads];
    Gate gate;
    const auto run = [&](std::size_t thread, const std::string& dir) {
        const auto call = [&](const ExportCall& entry) {
            if (const double result = entry.call(dir); result != entry.result)
                wrong[thread].push_back(entry.signature + (": " + std::to_string(result)));
        };
        for (std::size_t i = 0; i < kRounds * calls.size(); ++i) {
            const bool isInStep = i / calls.size() % 2 == 0;
            if (isInStep)
                gate.wait();
            call(*calls[(i + (isInStep ? 0 : thread * calls.size() / kThreads)) % calls.size()]);
            if (thread == 0 && i % kSeldom == 0)
                call(*single[i / kSeldom % single.size()]);
        }
    };
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread)
        threads.emplace_back(run, thread, directory("thread" + std::to_string(thread)));
    threads.clear();
    for (const std::vector<std::string>& signatures : wrong)
        EXPECT_EQ(std::vector<std::string>{}, signatures);
}

// Every thread misses the calibration file, and has it delivered while others read it. The detector's state changes
// meanwhile.
TEST_F(EveryExport, of_the_ndt_mode_shares_a_download) {
    constexpr int kRounds = 50;
    const auto entry = std::find_if(everyExport().begin(), everyExport().end(), [](const ExportCall& call) {
        return std::string(call.signature).starts_with("correctNDTImage(");
    });
    int failures[kThreads] = {};
    Gate gate;
    const auto takeFileAway = [&] {
        std::error_code error;
        fs::remove(root() + "gain/ndt-linear-gain2.raw", error);
    };
    {
        std::vector<std::jthread> threads;
        for (int& failed : failures)
            threads.emplace_back([&] {
                for (int round = 0; round < kRounds; ++round) {
                    gate.wait(takeFileAway);
                    failed += entry->call("") != 0;
                    const qxkit::DetectorLock lock;
                    qxkit::virtualDetector().machineId = std::string(round % 7 * 10, 'x');
                    EXPECT_STREQ(qxkit::virtualDetector().machineId.c_str(), getMachineID());
                }
            });
    }
    EXPECT_EQ(std::vector<int>(kThreads), std::vector<int>(failures, failures + kThreads));
    const auto& transfers = qxkit::virtualDetector().transfers;
    EXPECT_LE(kRounds, std::ssize(transfers));
    EXPECT_TRUE(std::all_of(transfers.begin(), transfers.end(), [](const auto& call) { return call.status == 0; }));
}

// Who corrects meanwhile reads the whole calibration file, the old or the new one.
TEST_F(EveryExport, of_the_ndt_mode_reads_calibration_files_whole_while_they_are_made) {
    constexpr int kRounds = 200;
    const auto call = [](const char* name) {
        return std::find_if(everyExport().begin(), everyExport().end(),
                            [=](const ExportCall& entry) { return std::string(entry.signature).starts_with(name); })
            ->call("");
    };
    EXPECT_EQ(0, call("executeNDTCAL("));
    int failures = 0;
    std::atomic<bool> isDone = false;
    std::jthread reader([&] {
        while (!isDone)
            failures += call("correctNDTImage(") != 0;
    });
    for (int round = 0; round < kRounds; ++round)
        EXPECT_EQ(0, call("executeNDTCAL("));
    isDone = true;
    reader.join();
    EXPECT_EQ(0, failures);
}

}  // namespace
