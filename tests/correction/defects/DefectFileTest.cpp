#include "BinaryFields.h"
#include "Compare.h"
#include "DefectFiles.h"
#include "DetectorFixture.h"

#include <QxUtils/Correction.h>

#include <climits>
#include <cstring>
#include <numeric>
#include <stdexcept>
#include <tuple>

namespace {

using namespace qx::test;
using Ints = std::vector<int>;

constexpr std::uint32_t kHeader = 65536;
const std::string kStructuredNames[] = {"NormalStructurizedDefect.cal", "FactoryStructurizedDefect.cal"};

ClassicDefects classicDefects() {
    return {
        1000,
        {{0, 0}, {999, 1}, {-1, 2}, {32767, 3}, {4, -1}},
        {{7, 0, 7, 999}, {0, 8, 999, 8}, {9, 9, 9, 9}, {1, 2, 3, 4}, {0x8000, 1, 0x8000, 2}, {1, 0xFFFE, 2, 0xFFFE}},
        {10, 20, 11, 20, -1, 30, 40, -1}};
}
VectorDefect classicLists() {
    return {{0, 1999, 1999, 35767, -996}, {20010, 20011, -1, 40030, -1}, {8, -2}, {7, 9, -32768}};
}

DefectInfo structuredDefects() {
    DefectInfo defects;
    defects.points = {{1, 2, 3, 4}, {-1, INT_MIN, INT_MAX, 0}, {5, 6, 7, 8}};
    defects.rows = {{{2, 11, 12, 13, 14}, {{1, 7, 9, 7}, {2, 7, 8, 7}}}, {{0, -1, -2, -3, -4}, {}}};
    defects.columns = {{{1, 21, 22, 23, 24}, {{9, 0, 9, 99}}}, {{1, 0, 0, 0, 0}, {{10, 0, 10, 99}}}};
    defects.clusters = {{{3, 31, 32, 33}, {{1, 1, 1, 1}, {1, 2, 1, 2}, {200, 2, 2, 2}}},
                        {{1, -5, 0, 0}, {{8, 8, 0, 0}}}};
    return defects;
}

class DefectFiles : public DetectorFixture {
protected:
    const std::string dir_ = kitDirectory(folder().path());

    void store(const std::string& name, const std::string& bytes) const { writeFile(folder() / name, bytes); }
    int readHead(const std::string& name, FileHeadInfo& info) const {
        return getDefectHeadInfo(dir_.c_str(), name.c_str(), &info);
    }

    // Reads a file into records that hold something already.
    int read(const std::string& name) {
        classic_ = {{1, 2}, {3}, {4}, {5, 6}};
        structured_ = {{{1, 2, 3, 4}}, {{{0}, {}}}, {{{0}, {}}}, {{{0}, {}}}};
        return getDefectIndexFromDefectFile(dir_.c_str(), name.c_str(), &classic_, &structured_);
    }

    void expectLists(const VectorDefect& classic, const DefectInfo& structured) const {
        EXPECT_EQ(std::tie(classic.points, classic.clusters, classic.rows, classic.columns),
                  std::tie(classic_.points, classic_.clusters, classic_.rows, classic_.columns));
        EXPECT_TRUE(structuredFile(structured) == structuredFile(structured_));
    }
    void expectClassic(const std::string& bytes, const VectorDefect& expected, const std::string& name = "x") {
        SCOPED_TRACE(name);
        store(name, bytes);
        EXPECT_EQ(0, read(name));
        expectLists(expected, {});
    }
    void expectStructured(const std::string& bytes, const DefectInfo& expected, int kind = 0) {
        store(kStructuredNames[kind], bytes);
        EXPECT_EQ(0, read(kStructuredNames[kind]));
        expectLists({}, expected);
    }
    void expectRefused(const std::string& name, const std::string& bytes, const std::string& what) {
        SCOPED_TRACE(name + ", " + what);
        store(name, bytes);
        EXPECT_EQ(1040, read(name));
        expectLists({}, {});
    }

    VectorDefect classic_;
    DefectInfo structured_;
};

using DefectHeadInfo = DefectFiles;
using ClassicDefectFile = DefectFiles;
using StructuredDefectFile = DefectFiles;
using DefectFile = DefectFiles;

TEST_F(DefectHeadInfo, twenty_four_words_in_their_order) {
    FileHeadInfo expected, info;
    std::memcpy(&expected, randomBytes(sizeof expected, 1).data(), sizeof expected);
    std::memset(&info, 0x5A, sizeof info);
    store("any", defectHeader(expected) + "more");
    EXPECT_EQ(0, readHead("any", info));
    EXPECT_EQ(0, std::memcmp(&expected, &info, sizeof info));
}

TEST_F(DefectHeadInfo, failures_leave_the_record) {
    FileHeadInfo info, before;
    for (FileHeadInfo* record : {&info, &before})
        std::memset(record, 0x5A, sizeof *record);
    for (const std::size_t size : {0, 12, 65535}) {
        store("short", std::string(size, '\1'));
        EXPECT_EQ(1040, readHead("short", info)) << size;
    }
    EXPECT_EQ(1039, readHead("none", info));
    EXPECT_EQ(1057, getDefectHeadInfo(nullptr, "short", &info));
    EXPECT_EQ(1057, getDefectHeadInfo(dir_.c_str(), nullptr, &info));
    EXPECT_EQ(1057, getDefectHeadInfo(dir_.c_str(), "short", nullptr));
    EXPECT_EQ(0, std::memcmp(&before, &info, sizeof info));
}

// The length is asked for first, then the header is read.
TEST_F(DefectHeadInfo, console_tells_while_debugging) {
    store("empty.cal", defectHeader({}));
    FileHeadInfo info{};
    const std::string found = "Full path: " + dir_ + "empty.cal \n";
    const std::string missing = "Full path: " + dir_ + "none \nError opening file.\n";
    for (const int flag : {0, 1}) {
        setDebug(flag);
        const auto expected = [=](const std::string& text) { return flag != 0 ? text : ""; };
        EXPECT_EQ(expected(found), printedBy([&] { readHead("empty.cal", info); }));
        EXPECT_EQ(expected(missing), printedBy([&] { readHead("none", info); }));
        EXPECT_EQ(expected(found + found), printedBy([&] { read("empty.cal"); }));
        EXPECT_EQ(expected(missing + missing), printedBy([&] { read("none"); }));
    }
    EXPECT_TRUE(logLines().empty());
}

// A bad column where x1 = x2, even when y1 = y2; lines of neither kind are passed over; values are signed.
TEST_F(ClassicDefectFile, holds_points_lines_and_clusters) {
    for (const char* const name : {"NormalDefectInfo.cal", "normalStructurizedDefect.cal",
                                   "FACTORYSTRUCTURIZEDDEFECT.CAL", "NormalStructurizedDefect.cal2", "x"})
        expectClassic(classicFile(classicDefects()), classicLists(), name);
    EXPECT_EQ(0, getDefectIndexFromDefectFile(dir_.c_str(), "x", &classic_, nullptr));
    expectLists(classicLists(), {});
}

TEST_F(ClassicDefectFile, sections_lie_in_any_order) {
    const ClassicDefects defects = classicDefects();
    const std::string points = sectionsOf(ClassicDefects{0, defects.points, {}, {}});
    const std::string lines = sectionsOf(ClassicDefects{0, {}, defects.lines, {}});
    const std::string clusters = words(defects.clusterWords);
    FileHeadInfo info = headInfoOf(defects);
    info.rowOffset = kHeader;
    info.pointOffset = kHeader + 48;
    // Of no meaning here.
    info.columnOffset = 1;
    info.clusterCount = 0xFFFFFFFFu;
    expectClassic(defectHeader(info) + lines + points + clusters, classicLists());
    // The run ends where the last separator does, as if it came last.
    info.pointCount = info.columnCount = 0;
    info.rowCount = 1;
    info.clusterOffset = kHeader;
    info.rowOffset = kHeader + 16;
    expectClassic(defectHeader(info) + clusters + words({7, 0, 7, 9}), {{}, {20010, 20011}, {}, {7}});
}

// The run ends with the last separator of the file. Behind a separator even -1 is an x.
TEST_F(ClassicDefectFile, run_of_clusters) {
    const std::string run = words({1, 2, -1, 3, 4, -1});
    const Ints lists = {2001, -1, 4003, -1};
    const struct {
        std::string bytes;
        Ints expected;
    } cases[] = {{run, lists},
                 {run + words({5, 6}), lists},
                 {run + "\xFF", lists},  // half a separator
                 {words({1, 2, -1}) + std::string("\1\xFF\xFF\1", 4), {2001, -1}},
                 {words({1, 2, 3, 4}), {}},
                 {"", {}},
                 {words({-1}), {-1}},
                 {words({-1, 1, 2, -1}), {-1, 2001, -1}},
                 {words({1, 2, -1, -1, 3, -1}), {2001, -1, 2999, -1}},
                 {words({1, 2, -1, -1}), {2001, -1}},  // without its y
                 {words({-1, -1, -1}), {-1, -1001}},
                 {words({5, -1, 6, 7, -1, -2, 1, -1}), {-995, 7006, -1, 998, -1}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        expectClassic(classicFile({1000, {}, {}, {}}) + c.bytes, {{}, c.expected, {}, {}});
    }
}

// Its length is counted from the header on, as if the sections began there: behind stray bytes, or with a point that is
// not counted, it runs past the file, which ends it then.
TEST_F(ClassicDefectFile, run_of_clusters_ends_with_the_file_unless_an_index_is_cut) {
    const ClassicDefects defects = classicDefects();
    const std::string lines = sectionsOf(ClassicDefects{0, defects.points, defects.lines, {}});
    const auto fileWith = [&](std::uint32_t stray, const std::string& run) {
        FileHeadInfo info = headInfoOf(defects);
        for (std::uint32_t* const offset : {&info.pointOffset, &info.rowOffset, &info.clusterOffset})
            *offset += stray;
        return defectHeader(info) + std::string(stray, '\1') + lines + run;
    };
    const std::string run = words(defects.clusterWords);
    expectClassic(fileWith(2, run), classicLists());
    VectorDefect lists = classicLists();
    lists.clusters.push_back(6005);
    for (const std::uint32_t stray : {4u, 400u}) {
        expectClassic(fileWith(stray, run), classicLists());
        expectClassic(fileWith(stray, run + words({5, 6})), lists);
        expectRefused("cut", fileWith(stray, run + words({5})), "an x without its y");
        expectRefused("cut", fileWith(stray, run + "x"), "half a word");
    }
    FileHeadInfo info = headInfoOf(defects);
    --info.pointCount;
    lists = classicLists();
    lists.points.pop_back();
    expectClassic(defectHeader(info) + lines + run, lists);
    // All of the run is left out, and the file may not be left.
    info.clusterOffset += static_cast<std::uint32_t>(run.size());
    lists.clusters.clear();
    expectClassic(defectHeader(info) + lines + run, lists);
    ++info.clusterOffset;
    expectRefused("behind", defectHeader(info) + lines + run, "a run behind the file");
}

// Separators elsewhere: in the header, at its end, and in the other sections.
TEST_F(ClassicDefectFile, run_of_clusters_is_none_without_a_separator_of_its_own) {
    ClassicDefects defects{1000, {}, {}, {}};
    std::string file = classicFile(defects);
    file.replace(65534, 2, "\xFF\xFF");
    expectClassic(file, {});
    file.replace(65532, 4, "\xFF\xFF\0\0", 4);
    expectClassic(file + words({1, 2, 3, 4}), {});
    defects.points = {{1, 1}, {-1, -1}, {2, 2}};
    expectClassic(classicFile(defects), {{1001, -1001, 2002}, {}, {}, {}});
    defects.lines = {{0xFFFF, 0, 0xFFFF, 0xFFFF}};
    // Far away and unread as the run has no length.
    FileHeadInfo info = headInfoOf(defects);
    info.clusterOffset = 0xFFFFFFFFu;
    expectClassic(defectHeader(info) + sectionsOf(defects), {{1001, -1001, 2002}, {}, {}, {-1}});
}

TEST_F(StructuredDefectFile, holds_points_and_groups) {
    const DefectInfo defects = structuredDefects();
    for (const int kind : {0, 1}) {
        expectStructured(structuredFile({}), {}, kind);
        expectStructured(structuredFile(defects) + "more", defects, kind);
        EXPECT_EQ(0, getDefectIndexFromDefectFile(dir_.c_str(), kStructuredNames[kind].c_str(), nullptr, &structured_));
        expectLists({}, defects);
    }
}

TEST_F(StructuredDefectFile, sections_lie_in_any_order) {
    const DefectInfo defects = structuredDefects();
    FileHeadInfo info = headInfoOf(defects);
    const std::string clusters = sectionsOf(DefectInfo{{}, defects.clusters, {}, {}}) + "gap";
    for (std::uint32_t* offset : {&info.pointOffset, &info.rowOffset, &info.columnOffset})
        *offset += static_cast<std::uint32_t>(clusters.size());
    info.clusterOffset = kHeader;
    const std::string others = sectionsOf(DefectInfo{defects.points, {}, defects.rows, defects.columns});
    expectStructured(defectHeader(info) + clusters + others, defects);
}

TEST_F(DefectFile, truncated_files_are_refused) {
    const std::string classic = classicFile(classicDefects()), structured = structuredFile(structuredDefects());
    const std::size_t clusters = headInfoOf(classicDefects()).clusterOffset;
    for (std::size_t size = 0; size < structured.size(); size += size < kHeader ? kHeader / 4 : 3) {
        const std::string what = std::to_string(size) + " bytes";
        expectRefused(kStructuredNames[0], structured.substr(0, size), what);
        if (size < clusters)
            expectRefused("classic", classic.substr(0, size), what);
    }
}

using Field = std::uint32_t FileHeadInfo::*;
constexpr Field kCounts[] = {&FileHeadInfo::pointCount, &FileHeadInfo::rowCount, &FileHeadInfo::columnCount,
                             &FileHeadInfo::clusterCount};
constexpr Field kOffsets[] = {&FileHeadInfo::pointOffset, &FileHeadInfo::rowOffset, &FileHeadInfo::columnOffset,
                              &FileHeadInfo::clusterOffset};

template <class Defects>
std::string lyingFile(const Defects& defects, Field field, std::uint32_t value) {
    FileHeadInfo info = headInfoOf(defects);
    info.*field = value;
    return defectHeader(info) + sectionsOf(defects);
}

TEST_F(DefectFile, lying_counts_are_refused) {
    const ClassicDefects classic = classicDefects();
    const DefectInfo structured = structuredDefects();
    for (const Field field : kCounts) {
        const auto expectRefusals = [&](const std::string& name, const auto& defects) {
            const std::uint32_t oneMore = headInfoOf(defects).*field + 1;
            for (const std::uint32_t count : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu, oneMore})
                expectRefused(name, lyingFile(defects, field, count), "count " + std::to_string(count));
        };
        expectRefusals(kStructuredNames[0], structured);
        if (field != &FileHeadInfo::clusterCount)
            expectRefusals("classic", classic);
    }
    // The sum of both leaves 32 bits.
    FileHeadInfo info = headInfoOf(classic);
    info.rowCount = 0x80000000u;
    info.columnCount = 0x80000000u + 6;
    expectRefused("classic", defectHeader(info) + sectionsOf(classic), "sum of lines");
}

TEST_F(DefectFile, empty_sections_lie_anywhere) {
    for (std::size_t field = 0; field < 4; ++field) {
        DefectInfo expected = structuredDefects();
        FileHeadInfo info = headInfoOf(expected);
        info.*kCounts[field] = 0;
        info.*kOffsets[field] = 0xFFFFFFFFu;
        const std::string file = defectHeader(info) + sectionsOf(expected);
        const auto keepUnless = [](bool isEmpty, auto& list) { list.resize(isEmpty ? 0 : list.size()); };
        keepUnless(field == 0, expected.points);
        keepUnless(field == 1, expected.rows);
        keepUnless(field == 2, expected.columns);
        keepUnless(field == 3, expected.clusters);
        expectStructured(file, expected);
    }
}

TEST_F(DefectFile, sections_outside_the_file_or_over_others_are_refused) {
    const ClassicDefects classic = classicDefects();
    const DefectInfo structured = structuredDefects();
    const auto size = static_cast<std::uint32_t>(structuredFile(structured).size());
    const auto expectRefusals = [&](const std::string& name, const auto& defects, Field field, std::uint32_t entry) {
        const std::uint32_t right = headInfoOf(defects).*field;
        for (const std::uint32_t offset : {0u, 1u, kHeader - 1, size - 1, size, size + 1, right - entry, right + 1,
                                           right + entry, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
            // The clusters of a classic file may lose some of their pairs.
            if (offset != right + entry || field != &FileHeadInfo::clusterOffset || name != "classic")
                expectRefused(name, lyingFile(defects, field, offset), "offset " + std::to_string(offset));
    };
    for (const Field field : kOffsets) {
        expectRefusals(kStructuredNames[0], structured, field, 16);
        if (field != &FileHeadInfo::columnOffset)
            expectRefusals("classic", classic, field, 4);
    }
}

// Of clusters the count is signed: below 0 there are no entries.
TEST_F(StructuredDefectFile, cluster_groups_of_negative_length_are_empty) {
    for (const int count : {-1, INT_MIN}) {
        DefectInfo defects = structuredDefects();
        defects.clusters.insert(defects.clusters.begin() + 1, ClusterGroup{{count, 1, 2, 3}, {}});
        expectStructured(structuredFile(defects), defects);
    }
}

TEST_F(StructuredDefectFile, lying_groups_are_refused) {
    const FileHeadInfo info = headInfoOf(structuredDefects());
    for (const int list : {0, 1, 2}) {
        for (const int count : {-1, INT_MIN, INT_MAX, 2, 1 << 27, 1 << 28}) {
            if (list == 2 && count < 0)
                continue;
            DefectInfo defects = structuredDefects();
            (list == 0   ? defects.rows[1].header
             : list == 1 ? defects.columns[1].header
                         : defects.clusters[1].header)[0] = count;
            expectRefused(kStructuredNames[0], defectHeader(info) + sectionsOf(defects), std::to_string(count));
        }
    }
}

TEST_F(ClassicDefectFile, pixel_indices_beyond_an_int_are_refused) {
    expectClassic(classicFile({65538, {{1, 32767}}, {}, {}}), {{INT_MAX}, {}, {}, {}});
    expectRefused("wide", classicFile({65538, {{2, 32767}}, {}, {}}), "point");
    expectRefused("wide", classicFile({0xFFFFFFFFu, {{5, 0}}, {}, {1, 2, -1}}), "cluster");
    expectClassic(classicFile({0xFFFFFFFFu, {{5, 0}}, {}, {7, 0, -1}}), {{5}, {7, -1}, {}, {}});
}

TEST_F(DefectFile, files_that_cannot_be_opened_and_null_arguments) {
    std::filesystem::create_directory(folder() / "folder");
    std::filesystem::create_directory(folder() / kStructuredNames[0]);
    for (const std::string& name : {std::string("none"), std::string("folder"), kStructuredNames[0],
                                    kStructuredNames[1], std::string(300, 'n')}) {
        EXPECT_EQ(1039, read(name)) << name;
        expectLists({}, {});
    }
    store("classic", classicFile(classicDefects()));
    const char* const dir = dir_.c_str();
    EXPECT_EQ(1057, getDefectIndexFromDefectFile(nullptr, "classic", &classic_, &structured_));
    EXPECT_EQ(1057, getDefectIndexFromDefectFile(dir, nullptr, &classic_, &structured_));
    EXPECT_EQ(1057, getDefectIndexFromDefectFile(dir, "classic", nullptr, &structured_));
    EXPECT_EQ(1057, getDefectIndexFromDefectFile(dir, "classic", nullptr, nullptr));
    EXPECT_EQ(1057, getDefectIndexFromDefectFile(dir, kStructuredNames[0].c_str(), &classic_, nullptr));
    expectLists({}, {});
    EXPECT_TRUE(logLines().empty());
}

TEST(GetRealCoordinate, columns_are_out_of_range) {
    VectorDefect source{{10, 2005}, {5, -1}, {}, {4}};
    try {
        getRealCoordinate(&source, {{1}, {2}, {3}, {4, 5, 6}}, 1000, 0, 0, 0, 500);
        FAIL() << "nothing was thrown";
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ("invalid vector<T> subscript", error.what());
    }
    EXPECT_EQ(std::tuple(Ints{10, 2005}, Ints{5, -1}, Ints{}, Ints{4}),
              std::tuple(source.points, source.clusters, source.rows, source.columns));
}

TEST(GetRealCoordinate, points_and_clusters_leave_no_trace) {
    VectorDefect source{{0, 10, -7, INT_MIN, INT_MAX}, {5, -1, INT_MIN}, {}, {}};
    const VectorDefect before = source;
    for (const int width : {1, 7, -1, INT_MIN, INT_MAX}) {
        for (const int destinationWidth : {0, 500, -1, INT_MIN, INT_MAX})
            getRealCoordinate(&source, {{1}, {2}, {3}, {4}}, width, INT_MIN, -1, INT_MAX, destinationWidth);
    }
    EXPECT_EQ(before.points, source.points);
    EXPECT_EQ(before.clusters, source.clusters);
    source.rows = {1};
    source.columns = {1};
    getRealCoordinate(&source, {}, 0, 0, 0, 0, 0);
    getRealCoordinate(nullptr, {}, 1000, 0, 0, 0, 500);
    EXPECT_EQ(Ints{1}, source.rows);
}

std::vector<float> numbered(int count, float start) {
    std::vector<float> values(static_cast<std::size_t>(count));
    std::iota(values.begin(), values.end(), start);
    return values;
}

// The quarter holds the pixels (2 row + yPhase, 2 column + xPhase) of half the height and width, rounded down.
TEST(OperateSubImage, moves_one_phase_out_and_in) {
    for (int trial = 0; trial < 7 * 8 * 4; ++trial) {
        const int xPhase = trial % 2, yPhase = trial / 2 % 2, width = trial / 4 % 8, height = trial / 32;
        SCOPED_TRACE(trial);
        const std::vector<float> image = numbered(width * height, 1.0f);
        const std::vector<float> quarter = numbered(height / 2 * (width / 2), 500.0f);
        std::vector<float> expectedQuarter, expectedImage = image;
        for (int row = 0; row < height / 2; ++row) {
            for (int column = 0; column < width / 2; ++column) {
                const auto pixel = static_cast<std::size_t>((2 * row + yPhase) * width + 2 * column + xPhase);
                expectedImage[pixel] = quarter[expectedQuarter.size()];
                expectedQuarter.push_back(image[pixel]);
            }
        }
        for (const int extract : {1, -5}) {
            std::vector<float> actual(quarter.size(), -1.0f);
            operateSubImage(actual.data(), image.data(), width, height, xPhase, yPhase, extract);
            EXPECT_EQ(expectedQuarter, actual);
        }
        std::vector<float> actual = image;
        operateSubImage(actual.data(), quarter.data(), width, height, xPhase, yPhase, 0);
        EXPECT_EQ(expectedImage, actual);
    }
}

// The buffers lie in the middle of a larger one, so that a stray access shows.
TEST(OperateSubImage, nothing_is_written_for_other_phases_and_impossible_sizes) {
    constexpr int kCases[][4] = {{10, 10, 2, 0},  {10, 10, 0, 2},       {10, 10, -1, 0},   {10, 10, 0, -1},
                                 {10, 10, -2, 1}, {10, 10, INT_MAX, 0}, {0, 10, 0, 0},     {-4, 10, 1, 1},
                                 {10, -4, 0, 1},  {INT_MIN, 4, 0, 0},   {4, INT_MIN, 0, 0}};
    std::vector<float> first = numbered(300, 1.0f);
    const std::vector<float> second = numbered(300, 1000.0f), before = first;
    for (const int extract : {0, 1}) {
        for (const auto& [width, height, xPhase, yPhase] : kCases)
            operateSubImage(first.data() + 150, second.data() + 150, width, height, xPhase, yPhase, extract);
        operateSubImage(nullptr, second.data(), 10, 10, 0, 0, extract);
        operateSubImage(first.data(), nullptr, 10, 10, 0, 0, extract);
    }
    EXPECT_TRUE(sameBitsEverywhere(before, first));
}

}  // namespace
