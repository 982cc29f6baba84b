// Files whose readers and writers run out of memory: every allocation is made to fail once.

#include "DefectFiles.h"
#include "DetectorFixture.h"
#include "FailingAllocator.h"
#include "SnrFiles.h"

#include <QxUtils/Correction.h>
#include <QxUtils/Quality.h>

#include <functional>
#include <new>

namespace {

using namespace qx::test;
namespace fs = std::filesystem;

class FileFault : public DetectorFixture {
protected:
    const std::string dir_ = kitDirectory(folder().path());

    // Lines of the log take memory of their own, which matters to nothing: without them only the operation's fails.
    void failEach(const std::function<int()>& call, const std::function<void(int)>& check) {
        setLogLevel(4);
        for (failures_ = 0;; ++failures_) {
            failAllocation(failures_ + 1);
            const int status = call();
            if (!stopFailing())
                break;
            check(status);
        }
        EXPECT_EQ(0, call());
        setLogLevel(1);
    }

    long failures_ = 0;
};

TEST_F(FileFault, defect_files_answer_1035_and_leave_empty_lists) {
    const std::string structuredName = "NormalStructurizedDefect.cal";
    DefectInfo defects;
    defects.points.resize(9);
    defects.rows = {{{2, 0, 0, 0, 0}, {{}, {}}}, {{0, 0, 0, 0, 0}, {}}};
    defects.clusters = {{{1, 0, 0, 0}, {{}}}};
    writeFile(folder() / structuredName, structuredFile(defects));
    writeFile(folder() / "classic", classicFile({10, {{1, 1}, {2, 2}}, {{1, 0, 1, 9}, {0, 3, 9, 3}}, {1, 2, -1}}));
    for (const std::string& name : {std::string("classic"), structuredName}) {
        VectorDefect classic;
        DefectInfo structured;
        failEach([&] { return getDefectIndexFromDefectFile(dir_.c_str(), name.c_str(), &classic, &structured); },
                 [&](int status) {
                     EXPECT_EQ(1035, status);
                     EXPECT_TRUE(classic.points.empty() && classic.clusters.empty() && classic.rows.empty() &&
                                 classic.columns.empty());
                     EXPECT_TRUE(structured.points.empty() && structured.clusters.empty() && structured.rows.empty() &&
                                 structured.columns.empty());
                 });
        EXPECT_GE(failures_, 4);
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
    failEach([&] { return loadAllSNRFromFactory(dir_.c_str(), "snr.raw", list, 7); },
             [&](int status) {
                 EXPECT_EQ(1035, status);
                 EXPECT_EQ(std::vector<int>{1}, list.integrationTimes);
                 EXPECT_TRUE(list.records.empty());
             });
    EXPECT_GE(failures_, 4);
    // The first allocation behind the opening line's is the file's content.
    for (long failing = 1; failing < 100; ++failing) {
        FactoryDiffIntSNRList empty;
        failAllocation(failing);
        const int status = loadAllSNRFromFactory(dir_.c_str(), "snr.raw", empty, 7);
        stopFailing();
        if (status == 1035)
            break;
    }
    EXPECT_EQ("Utils  | I | allocate factorySNRFileData failed, expected size is 655841035", logLines().back());
}

TEST_F(FileFault, factory_images_without_memory_make_no_file) {
    detector().width = 130;
    detector().height = 128;
    fs::create_directory(folder() / "500ms");
    writeFile(fs::path(folder() / "500ms") / "one", imageFile(flatImage(130, 128, 5000, 9, 1), 500.0f));
    int status = 0;
    const std::string result = folder() / "4343-SNR.raw";
    printedBy([&] {
        failEach([&] { return status = retrieveAllSNRForQualityCheck(7, dir_.c_str()); },
                 [&](int) {
                     // An image that cannot be measured is left out, a directory that cannot be listed has none.
                     EXPECT_TRUE(status == 1035 || status == 1040) << status;
                     EXPECT_FALSE(fs::exists(result));
                 });
    });
    EXPECT_TRUE(fs::exists(result));
    EXPECT_GE(failures_, 5);
}

}  // namespace
