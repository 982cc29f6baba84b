// Files whose readers and writers run out of memory: every allocation is made to fail once.

#include "DefectFiles.h"
#include "FaultFixture.h"
#include "SnrFiles.h"

#include <QxUtils/Correction.h>
#include <QxUtils/Files.h>
#include <QxUtils/Quality.h>

#include <new>

namespace {

using namespace qx::test;
namespace fs = std::filesystem;

class FileFault : public FaultFixture {
protected:
    const std::string dir_ = kitDirectory(folder().path());
};

TEST_F(FileFault, defect_files_answer_1035_and_leave_empty_lists) {
    const std::string structuredName = "NormalStructurizedDefect.cal";
    DefectInfo defects;
    defects.points.resize(9);
    defects.rows = {{{2, 0, 0, 0, 0}, {{}, {}}}, {{0, 0, 0, 0, 0}, {}}};
    defects.clusters = {{{1, 0, 0, 0}, {{}}}};
    writeFile(folder() / structuredName, structuredFile(defects));
    writeFile(folder() / "classic", classicFile({10, {{1, 1}, {2, 2}}, {{1, 0, 1, 9}, {0, 3, 9, 3}}, {1, 2, -1}}));
    setLogLevel(4);
    for (const std::string& name : {std::string("classic"), structuredName}) {
        VectorDefect classic;
        DefectInfo structured;
        const auto load = [&] {
            return getDefectIndexFromDefectFile(dir_.c_str(), name.c_str(), &classic, &structured);
        };
        const auto isEmpty = [](const auto& lists) {
            return lists.points.empty() && lists.clusters.empty() && lists.rows.empty() && lists.columns.empty();
        };
        EXPECT_LE(4, failEach<int>(load, [&](int status) {
                      EXPECT_EQ(1035, status);
                      EXPECT_TRUE(isEmpty(classic) && isEmpty(structured));
                  }));
        EXPECT_EQ(0, load());
    }
}

// The list is walked and grows, each row half of the one before, until there is no memory left.
TEST_F(FileFault, rows_are_binned_until_memory_ends) {
    for (const long failing : {1, 2, 5, 12}) {
        VectorDefect source{{1}, {}, {1000}, {7}};
        bool ended = false;
        failAllocation(failing + 1);  // the first is the destination's point
        try {
            getRealCoordinate(&source, {}, 1000, 0, 0, 0, 500);
        } catch (const std::bad_alloc&) {
            ended = true;
        }
        stopFailing();
        EXPECT_TRUE(ended);
        EXPECT_EQ(std::size_t{1} << (failing - 1), source.rows.size());
        for (std::size_t i = 1; i < source.rows.size(); ++i)
            ASSERT_EQ(source.rows[i - 1] / 2, source.rows[i]);
    }
}

TEST_F(FileFault, factory_series_answer_1035_and_leave_the_list) {
    writeFile(folder() / "snr.raw",
              std::string(65536, '\0') + snrPayload({1, 2, 1, 7}, {{5, 1, 1.0f, {2.0f}}, {6, 1, 1.0f, {2.0f}}}));
    FactoryDiffIntSNRList list{{1}, {}};
    const auto load = [&] {
        list.integrationTimes.resize(1);
        list.records.clear();
        return loadAllSNRFromFactory(dir_.c_str(), "snr.raw", list, 7);
    };
    setLogLevel(4);
    EXPECT_LE(4, failEach<int>(load, [&](int status) {
                  EXPECT_EQ(1035, status);
                  EXPECT_EQ(std::vector<int>{1}, list.integrationTimes);
                  EXPECT_TRUE(list.records.empty());
              }));
    EXPECT_EQ(0, load());
    setLogLevel(1);
    const std::string line = "Utils  | I | allocate factorySNRFileData failed, expected size is 655841035";
    EXPECT_TRUE(refusals(load).front().ends_with(line));
}

// Neither half a record nor one with a status for a level; the last run is the one that has all memory.
TEST_F(FileFault, training_records_without_memory_are_abandoned_in_silence) {
    const TestImage image = randomImage(1000, 70, 0, 65535, 1);
    const fs::path record = logFolder() / "PostDarkData.txt";
    fs::create_directory(logFolder());
    const auto isRecorded = [&] {
        recordAedTrainStepInfo(image.data(), 1000, 70);
        return fs::exists(record);
    };
    // Whatever the kit keeps of its own is there from now on.
    EXPECT_TRUE(isRecorded());
    fs::remove(record);
    EXPECT_LT(3, failEach<bool>(isRecorded, [](bool exists) { EXPECT_FALSE(exists); }));
    EXPECT_EQ(7u, splitLines(readFile(record)).size());
    EXPECT_EQ(1u, logFiles().size());
}

}  // namespace
