// What runs long, or is killed: every export again and again in one process, a host that writes files and a log until
// it is ended, and one that logs until a given time of a clock that may run fast. What they tell goes to the standard
// error, since the library's own texts go to the standard output.

#include "calls/EveryExport.h"
#include "support/Builders.h"
#include "support/SnrFiles.h"

#include <QxSysMgt.h>
#include <QxUtils.h>
#include <VirtualDetector.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace qx::test;
namespace fs = std::filesystem;

constexpr int kVariants = 8;
constexpr int kWarmUp = 3 * kVariants;
constexpr int kSide = 512;  // of the host's frames
constexpr int kPixels = kSide * kSide;

long entriesOf(const char* folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

long kilobytesOf(const std::string& field) {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(field))
            return std::atol(line.c_str() + field.size());
    return -1;
}

// A line of the table, and what may be added to it from the end of the warm-up to the last round.
struct Sample {
    long round = 0;
    long resident = kilobytesOf("VmRSS:");
    long data = kilobytesOf("VmData:");
    long heap = static_cast<long>(mallinfo2().uordblks + mallinfo2().hblkhd);
    long descriptors = entriesOf("/proc/self/fd");
    long threads = entriesOf("/proc/self/task");
};

void print(const Sample& sample) {
    std::fprintf(stderr, "%10ld %12ld %10ld %12ld %6ld %8ld\n", sample.round, sample.resident, sample.data, sample.heap,
                 sample.descriptors, sample.threads);
}

// The heap comes back to the byte; the kilobytes breathe with its pages.
bool isFlat(const Sample& first, const Sample& last) {
    constexpr long kBytes = 4096, kKilobytes = 1024;
    const long resident = last.resident - first.resident, data = last.data - first.data, heap = last.heap - first.heap;
    std::fprintf(stderr, "since the warm-up: %+ld kB resident, %+ld kB of data, %+ld bytes of heap in %ld rounds\n",
                 resident, data, heap, last.round - first.round);
    return heap < kBytes && resident < kKilobytes && data < kKilobytes && last.descriptors == first.descriptors &&
           last.threads == first.threads;
}

// One call of each export. What it brings forth must be what the second round of the same data brought forth: calls of
// the first one find no files of earlier ones.
int runRound(const std::string& dir, long round, std::vector<std::vector<std::size_t>>& told) {
    int wrong = 0;
    const bool isRecorded = round < 2 * kVariants;
    std::vector<std::size_t>& expected = told[round % kVariants];
    expected.resize(everyExport().size());
    changeData(1 + round % kVariants);
    std::srand(1);
    for (std::size_t i = 0; i < everyExport().size(); ++i) {
        const ExportCall& entry = everyExport()[i];
        const double result = entry.call(dir);
        const std::size_t now = takeTold();
        if (isRecorded)
            expected[i] = now;
        if (result == entry.result && now == expected[i])
            continue;
        std::fprintf(stderr, "round %ld: %s: another result, %g\n", round, entry.signature, result);
        ++wrong;
    }
    qxkit::virtualDetector().transfers.clear();
    return wrong;
}

int soak(const std::string& root, long rounds) {
    std::vector<std::vector<std::size_t>> told(kVariants);
    const long step = rounds < 10000 ? std::max(rounds / 10, 1L) : 1000;
    prepareDetector(root);
    fs::create_directories(root + "calls");
    std::fputs("     round  resident kB    data kB   heap bytes  files  threads\n", stderr);
    Sample first, last;
    for (long round = 0, wrong = 0; round <= rounds; ++round) {
        if (round == kWarmUp || round == rounds || (round > kWarmUp && round % step == 0)) {
            last = Sample{round};
            print(last);
            if (round == kWarmUp)
                first = last;
            fs::remove_all(root + "logs");
        }
        if ((wrong += runRound(root + "calls/", round, told)) > 0)
            return 1;
    }
    std::fprintf(stderr, "%ld rounds of %zu exports, %d kinds of data\n", rounds, everyExport().size(), kVariants);
    return isFlat(first, last) ? 0 : 1;
}

void writeImage(const std::string& root, int variant) {
    static const std::string bytes = randomBytes(kVariants + (1 << 21), 1);
    writeImageToDisk(root.c_str(), "image.raw", bytes.data() + variant, 1 << 21);
}

void writeGain(const std::string&, int variant) {
    std::vector<std::uint32_t> bright(kPixels), dark(kPixels, 300);
    for (int i = 0; i < kPixels; ++i)
        bright[i] = 5000 + i % 64 * (variant + 1);
    executeNDTCAL(bright.data(), dark.data(), kPixels);
}

void writeSnr(const std::string& root, int variant) {
    const std::string data = root + "data" + std::to_string(variant), images = root + "images/";
    if (!fs::exists(data)) {
        fs::create_directories(data);
        fs::create_directories(images);
        const TestImage flat = flatImage(kSide, kSide, 30000, 50, 1 + variant);
        writeFile(data + "/1.raw", imageFile({kSide, kSide, flat.pixels}, 500.0f));
    }
    fs::remove(root + "link");
    fs::create_directory_symlink(data, root + "link");
    fs::rename(root + "link", images + "500ms");
    retrieveAllSNRForQualityCheck(7, images.c_str());
}

// Writes one kind of file, its variants in turn, while another thread logs and tells each line that is written.
int host(const std::string& root, const std::string& kind, int count) {
    prepareDetector(root);
    qxkit::virtualDetector().width = qxkit::virtualDetector().modeWidth = kSide;
    qxkit::virtualDetector().height = qxkit::virtualDetector().modeHeight = kSide;
    const auto write = kind == "image" ? writeImage : kind == "gain" ? writeGain : writeSnr;
    std::atomic<bool> ends = false;
    std::jthread logger([&] {
        for (int line = 0; !ends; ++line) {
            WriteLogFile(LogModuleUtils, LogInfo, "host line ", line);
            std::fprintf(stderr, "%d\n", line);
        }
    });
    for (int i = 0; i != count; ++i)
        write(root, i % kVariants);
    ends = true;
    return 0;
}

// Logs from two threads up to a second of the calendar, and cleans the log up meanwhile; prints the number of lines.
int logUntil(const std::string& root, int writer, long end) {
    qxkit::setDirectories(root);
    const auto write = [end](int number) {
        constexpr int kAtMost = 1'000'000;
        for (int line = 1; line <= kAtMost; ++line) {
            const bool isLast = std::time(nullptr) >= end;
            WriteLogFile(LogModuleUtils, LogInfo, ("writer " + std::to_string(number) + " line ").c_str(), line);
            if (isLast)
                return std::fprintf(stderr, "%d %d\n", number, line);
            if (line % 500 == 0)
                removeLogFile();
        }
        return 0;
    };
    std::jthread other(write, 2 * writer + 1);
    write(2 * writer);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 3 && arguments[0] == "calls")
        return soak(arguments[1], std::stol(arguments[2]));
    if (arguments.size() == 4 && arguments[0] == "host")
        return host(arguments[1], arguments[2], std::stoi(arguments[3]));
    if (arguments.size() == 4 && arguments[0] == "clock")
        return logUntil(arguments[1], std::stoi(arguments[2]), std::stol(arguments[3]));
    std::fputs("usage: qx_soak calls FOLDER/ ROUNDS | host FOLDER/ image|gain|snr COUNT | clock FOLDER/ WRITER END\n",
               stderr);
    return 2;
}
