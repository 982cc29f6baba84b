// Every allocation and every file operation of every export fails once: the export hands back what the table of calls
// says, files are untouched or whole, descriptors closed, and the next call succeeds.

#include "Builders.h"
#include "FaultyRuntime.h"
#include "calls/EveryExport.h"

#include <QxUtils/Files.h>
#include <QxUtils/Foundation.h>
#include <VirtualDetector.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace qx::test;
namespace fs = std::filesystem;

using Files = std::map<std::string, std::string>;

class ExportFault : public ::testing::Test {
protected:
    ExportFault() {
        prepareDetector(root_.path());
        qxkit::virtualDetector().syncMode = 3;
        qxkit::virtualDetector().ndtFrameCount = 4;
        qxkit::virtualDetector().config.correctedImageDumpLevel = 1;
        fs::create_directory(directory());
        fs::create_directory(root_ / "logs");
    }
    ~ExportFault() override {
        setLogLevel(1);
        qxkit::resetVirtualDetector();
    }

    std::string directory() const { return root_ / "calls/"; }

    // What lies below the directories and shall never be torn. A copy and a decoded text are written in place, a log
    // line by line.
    Files files() const {
        Files found;
        for (const auto& entry : fs::recursive_directory_iterator(root_.path())) {
            const std::string name = entry.path().filename().string();
            const bool isTorn = name == "copy" || name == "decoded" || entry.path().parent_path().filename() == "logs";
            if (entry.is_regular_file() && !isTorn)
                found[entry.path().string()] = readFile(entry.path());
        }
        return found;
    }

    static std::ptrdiff_t descriptors() {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    }

    // Fails each operation of a call once. The outputs of the call are there before it, or not.
    void failEach(Fault kind, const ExportCall& entry, bool isFresh) {
        const int level = kind == Fault::Memory ? kSilent : LogInfo;
        setLogLevel(level);
        const Files before = files();
        const double result = entry.call(directory());
        const Files whole = files();
        for (long number = 1;; ++number) {
            setLogLevel(level);
            if (isFresh)
                removeAllBut(before);
            const std::ptrdiff_t open = descriptors();
            failOperation(kind, number);
            const double outcome = entry.call(directory());
            const char* const failed = stopFailing();
            const std::string place =
                std::string(entry.signature) + " without " + (failed != nullptr ? failed : "fault");
            EXPECT_EQ(open, descriptors()) << place;
            expectWhole(whole, isFresh && failed != nullptr, place);
            if (failed == nullptr) {
                EXPECT_EQ(result, outcome) << place;
                return;
            }
            EXPECT_TRUE(outcome != result || !isMissed(failed, entry)) << place;
            failed_.insert(failed);
            outcomes_.insert(outcome);
            // What is left behind would be found again and again.
            ASSERT_FALSE(HasFailure());
        }
    }

    // Whether nothing else can be right without it. A copy tells nothing, and a defect file whose length is not known
    // counts as one of the older kind.
    static bool isMissed(const std::string& failed, const ExportCall& entry) {
        static const std::set<std::string> kReading = {"fgetc", "fgets", "fread", "fseeko", "ftello", "readdir"};
        const std::string signature = entry.signature;
        return kReading.contains(failed) && !signature.starts_with("copyFile(") &&
               !signature.starts_with("getDefectIndexFromDefectFile(");
    }

    // Files that are neither what they were nor what they shall be count as torn.
    void expectWhole(const Files& whole, bool mayLack, const std::string& place) const {
        const Files found = files();
        EXPECT_TRUE(mayLack || found.size() == whole.size()) << place;
        for (const auto& [path, content] : found)
            EXPECT_TRUE(whole.contains(path) && whole.at(path) == content) << place << ": " << path;
    }

    void removeAllBut(const Files& kept) const {
        for (const auto& [path, content] : files())
            if (!kept.contains(path))
                fs::remove(path);
    }

    // Lines of the log take memory of their own, which matters to nothing: without them only the operation's fails.
    static constexpr int kSilent = 4;

    TemporaryDirectory root_;
    std::set<std::string> failed_;
    std::set<double> outcomes_;
};

TEST_F(ExportFault, without_memory_hands_back_what_the_table_says) {
    for (const ExportCall& entry : everyExport()) {
        outcomes_.clear();
        failEach(Fault::Memory, entry, true);
        std::set<double> expected;
        if (entry.shortOfMemory)
            expected.insert(entry.shortOfMemory->begin(), entry.shortOfMemory->end());
        EXPECT_EQ(expected, outcomes_) << entry.signature;
    }
    EXPECT_EQ((std::set<std::string>{"new", "realloc"}), failed_);
}

TEST_F(ExportFault, without_files_hands_back_what_the_table_says) {
    for (const ExportCall& entry : everyExport()) {
        outcomes_ = {entry.result};
        failEach(Fault::Files, entry, true);  // while the outputs are not there yet
        failEach(Fault::Files, entry, false);
        std::set<double> expected = {entry.result};
        if (entry.usesFiles)
            expected.insert(entry.shortOfFiles.begin(), entry.shortOfFiles.end());
        EXPECT_EQ(expected, outcomes_) << entry.signature;
    }
    EXPECT_EQ((std::set<std::string>{"fchmod", "fclose", "fdopen", "fgetc", "fgets", "fread", "fseeko", "ftello",
                                     "fwrite", "open", "opendir", "readdir", "rename", "write"}),
              failed_);
}

TEST_F(ExportFault, directories_that_cannot_be_made) {
    const std::string missing = directory() + "missing/";
    failOperation(Fault::Files, 1);
    EXPECT_EQ(1039, writeImageToDisk(missing.c_str(), "image", "1", 1));
    EXPECT_STREQ("mkdir", stopFailing());
    fs::remove_all(root_ / "logs");
    failOperation(Fault::Files, 1);
    EXPECT_EQ(0, WriteLogFile(LogModuleUtils, LogInfo, "lost", kLogNoValue));
    EXPECT_STREQ("mkdir", stopFailing());
}

// One of two names.
TEST_F(ExportFault, file_that_is_written_in_place_keeps_what_was_written) {
    const std::string dir = directory();
    std::vector<std::pair<int, std::string>> outcomes;
    bool hasFailed = true;
    for (int number = 1; hasFailed; ++number) {
        writeFile(dir + "image", "old");
        fs::remove(dir + "second name");
        fs::create_hard_link(dir + "image", dir + "second name");
        failOperation(Fault::Files, number);
        const int status = writeImageToDisk(dir.c_str(), "image", "image", 5);
        hasFailed = stopFailing() != nullptr;
        outcomes.emplace_back(status, readFile(dir + "second name"));
    }
    // Opening, a stream for it, writing, closing, nothing.
    EXPECT_EQ((std::vector<std::pair<int, std::string>>{
                  {1039, "old"}, {1039, "old"}, {1041, "im"}, {1041, ""}, {0, "image"}}),
              outcomes);
}

TEST_F(ExportFault, file_that_cannot_be_opened_is_not_made) {
    const std::string text = directory() + "text";
    const std::string decoded = directory() + "decoded";
    writeFile(text, "MTIz\n");
    int refusals = 0;
    for (int number = 1, status = -1; status != 0; ++number) {
        fs::remove(decoded);
        failOperation(Fault::Files, number);
        status = decodeFile(text.c_str(), decoded.c_str());
        stopFailing();
        EXPECT_EQ(status != 1039, fs::exists(decoded)) << number;
        refusals += status == 1039;
    }
    EXPECT_EQ(5, refusals);  // opening the text, a stream for it, looking for the file, making it, a stream for it
}

}  // namespace
