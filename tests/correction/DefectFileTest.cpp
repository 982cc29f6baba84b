#include "BinaryFields.h"
#include "Compare.h"
#include "DefectFiles.h"
#include "DetectorFixture.h"

#include <QxUtils/Correction.h>

#include <array>
#include <climits>
#include <cstring>
#include <functional>
#include <stdexcept>

// Entries compare by their bytes.
inline bool operator==(const DefectEntry& a, const DefectEntry& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}
inline bool operator==(const LineGroup& a, const LineGroup& b) {
    return std::memcmp(a.header, b.header, sizeof a.header) == 0 && a.entries == b.entries;
}
inline bool operator==(const ClusterGroup& a, const ClusterGroup& b) {
    return std::memcmp(a.header, b.header, sizeof a.header) == 0 && a.entries == b.entries;
}

namespace {

using namespace qx::test;
using Ints = std::vector<int>;

constexpr std::uint32_t kHeader = 65536;
constexpr std::uint32_t kHuge[] = {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu};
const char* const kStructuredNames[] = {"NormalStructurizedDefect.cal", "FactoryStructurizedDefect.cal"};

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
    int readBytes(const std::string& name, const std::string& bytes) {
        store(name, bytes);
        return read(name);
    }

    void expectClassic(const VectorDefect& expected) const {
        EXPECT_EQ(expected.points, classic_.points);
        EXPECT_EQ(expected.clusters, classic_.clusters);
        EXPECT_EQ(expected.rows, classic_.rows);
        EXPECT_EQ(expected.columns, classic_.columns);
    }
    void expectStructured(const DefectInfo& expected) const {
        EXPECT_TRUE(expected.points == structured_.points);
        EXPECT_TRUE(expected.clusters == structured_.clusters);
        EXPECT_TRUE(expected.rows == structured_.rows);
        EXPECT_TRUE(expected.columns == structured_.columns);
    }
    void expectRefused(int status, const std::string& what) const {
        SCOPED_TRACE(what);
        EXPECT_EQ(1040, status);
        expectNothing();
    }
    void expectNothing() const {
        expectClassic({});
        expectStructured({});
    }

    VectorDefect classic_;
    DefectInfo structured_;
};

using DefectHeadInfo = DefectFiles;
using ClassicDefectFile = DefectFiles;
using StructuredDefectFile = DefectFiles;
using DefectFile = DefectFiles;

// Every word of the record by its place in the header.
TEST_F(DefectHeadInfo, twenty_four_words_in_their_order) {
    const std::string header = randomBytes(kHeader + 5, 1);
    store("any", header);
    std::array<std::uint32_t, 24> expected{};
    const auto stored = [&](std::size_t offset) {
        std::uint32_t value = 0;
        std::memcpy(&value, header.data() + offset, sizeof value);
        return value;
    };
    const auto bigEndian = [&](std::size_t offset) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i)
            value = value << 8 | static_cast<std::uint8_t>(header[offset + i]);
        return value;
    };
    expected[0] = bigEndian(12);
    expected[1] = bigEndian(16);
    for (std::size_t i = 0; i < 6; ++i)
        expected[2 + i] = stored(8248 + 4 * i);
    for (std::size_t i = 0; i < 8; ++i)
        expected[8 + i] = stored(8340 + 4 * i);
    for (std::size_t i = 0; i < 8; ++i)
        expected[16 + i] = bigEndian(40 + 4 * i);
    FileHeadInfo info;
    std::memset(&info, 0x5A, sizeof info);
    EXPECT_EQ(0, readHead("any", info));
    EXPECT_EQ(0, std::memcmp(expected.data(), &info, sizeof info));
}

TEST_F(DefectHeadInfo, failures_leave_the_record) {
    std::filesystem::create_directory(folder() / "folder");
    FileHeadInfo info;
    std::memset(&info, 0x5A, sizeof info);
    const FileHeadInfo before = info;
    for (const std::size_t size : {0, 1, 12, 16, 20, 44, 72, 8248, 8272, 8372, 65535}) {
        store("short", std::string(size, '\1'));
        EXPECT_EQ(1040, readHead("short", info)) << size;
    }
    EXPECT_EQ(1039, readHead("none", info));
    EXPECT_EQ(1039, readHead("folder", info));
    EXPECT_EQ(1039, readHead(std::string(300, 'n'), info));
    EXPECT_EQ(1057, getDefectHeadInfo(nullptr, "short", &info));
    EXPECT_EQ(1057, getDefectHeadInfo(dir_.c_str(), nullptr, &info));
    EXPECT_EQ(1057, getDefectHeadInfo(dir_.c_str(), "short", nullptr));
    EXPECT_EQ(0, std::memcmp(&before, &info, sizeof info));
}

// The length is asked for first, then the header is read.
TEST_F(DefectHeadInfo, console_tells_while_debugging) {
    store("empty.cal", defectHeader({}));
    FileHeadInfo info{};
    const auto path = [&](const std::string& name) { return "Full path: " + dir_ + name + " \n"; };
    const std::string missing = path("none") + "Error opening file.\n";
    for (const int flag : {0, 1}) {
        setDebug(flag);
        const auto expected = [=](const std::string& text) { return flag != 0 ? text : ""; };
        EXPECT_EQ(expected(path("empty.cal")), printedBy([&] { readHead("empty.cal", info); }));
        EXPECT_EQ(expected(missing), printedBy([&] { readHead("none", info); }));
        EXPECT_EQ(expected(path("empty.cal") + path("empty.cal")), printedBy([&] { read("empty.cal"); }));
        EXPECT_EQ(expected(missing + missing), printedBy([&] { read("none"); }));
    }
    EXPECT_TRUE(logLines().empty());
}

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

// A bad column where x1 = x2, even when y1 = y2; lines of neither kind are passed over; values are signed.
TEST_F(ClassicDefectFile, holds_points_lines_and_clusters) {
    EXPECT_EQ(0, readBytes("NormalDefectInfo.cal", classicFile(classicDefects())));
    expectClassic(classicLists());
    expectStructured({});
    for (const char* const name : {"normalStructurizedDefect.cal", "NormalStructurizedDefect.CAL",
                                   "FACTORYSTRUCTURIZEDDEFECT.CAL", "NormalStructurizedDefect.cal2", "x"}) {
        EXPECT_EQ(0, readBytes(name, classicFile(classicDefects()))) << name;
        expectClassic(classicLists());
    }
    EXPECT_EQ(0, getDefectIndexFromDefectFile(dir_.c_str(), "x", &classic_, nullptr));
    expectClassic(classicLists());
}

TEST_F(ClassicDefectFile, sections_lie_in_any_order) {
    const ClassicDefects defects = classicDefects();
    const ClassicDefects points{0, defects.points, {}, {}};
    const ClassicDefects lines{0, {}, defects.lines, {}};
    const ClassicDefects clusters{0, {}, {}, defects.clusterWords};
    FileHeadInfo info = headInfoOf(defects);
    info.rowOffset = kHeader;
    info.pointOffset = kHeader + 48;
    // Of no meaning here.
    info.columnOffset = 1;
    info.clusterCount = 0xFFFFFFFFu;
    EXPECT_EQ(0, readBytes("a", defectHeader(info) + sectionsOf(lines) + sectionsOf(points) + sectionsOf(clusters)));
    expectClassic(classicLists());
    // The run ends where the last separator does, as if it came last.
    info.pointCount = 0;
    info.rowCount = 1;
    info.columnCount = 0;
    info.clusterOffset = kHeader;
    info.rowOffset = kHeader + 16;
    EXPECT_EQ(0, readBytes("a", defectHeader(info) + sectionsOf(clusters) + words({7, 0, 7, 9})));
    expectClassic({{}, {20010, 20011}, {}, {7}});
}

// The run ends with the last separator of the file.
TEST_F(ClassicDefectFile, run_of_clusters) {
    const std::string run = words({1, 2, -1, 3, 4, -1});
    const Ints lists = {2001, -1, 4003, -1};
    const struct {
        std::string what, bytes;
        Ints expected;
    } cases[] = {{"file ends with a separator", run, lists},
                 {"whole pixel behind the last separator", run + words({5, 6}), lists},
                 {"half a word behind it", run + "\x05", lists},
                 {"half a separator behind it", run + "\xFF", lists},
                 {"separator at an odd byte", words({1, 2, -1}) + std::string("\1\xFF\xFF\1", 4), {2001, -1}},
                 {"no separator", words({1, 2, 3, 4}), {}},
                 {"no clusters", "", {}},
                 {"separator alone", words({-1}), {-1}},
                 {"separator first", words({-1, 1, 2, -1}), {-1, 2001, -1}},
                 {"-1 behind a separator is an x", words({1, 2, -1, -1, 3, -1}), {2001, -1, 2999, -1}},
                 {"... at the start", words({-1, -1, 2, 5, 6, -1}), {-1, 1999, 6005, -1}},
                 {"... without its y", words({1, 2, -1, -1}), {2001, -1}},
                 {"three of them", words({-1, -1, -1}), {-1, -1001}},
                 {"-1 as a y", words({5, -1, 6, 7, -1}), {-995, 7006, -1}},
                 {"negative x", words({-2, 1, -1}), {998, -1}}};
    for (const auto& c : cases) {
        for (const bool hasOthers : {false, true}) {
            SCOPED_TRACE(c.what);
            ClassicDefects defects = hasOthers ? classicDefects() : ClassicDefects{1000, {}, {}, {}};
            defects.clusterWords.clear();
            VectorDefect expected = hasOthers ? classicLists() : VectorDefect{};
            expected.clusters = c.expected;
            EXPECT_EQ(0, readBytes("run", classicFile(defects) + c.bytes));
            expectClassic(expected);
        }
    }
}

// Separators elsewhere: in the header, at its end, and in the other sections.
TEST_F(ClassicDefectFile, run_of_clusters_is_none_without_a_separator_of_its_own) {
    ClassicDefects defects{1000, {}, {}, {}};
    std::string file = classicFile(defects);
    file.replace(65534, 2, "\xFF\xFF");
    EXPECT_EQ(0, readBytes("run", file));
    expectClassic({});
    file.replace(65534, 2, "\0\0", 2);
    file.replace(65532, 2, "\xFF\xFF");
    EXPECT_EQ(0, readBytes("run", file + words({1, 2, 3, 4})));
    expectClassic({});
    defects.points = {{1, 1}, {-1, -1}, {2, 2}};
    EXPECT_EQ(0, readBytes("run", classicFile(defects)));
    expectClassic({{1001, -1001, 2002}, {}, {}, {}});
    defects.lines = {{0xFFFF, 0, 0xFFFF, 0xFFFF}};
    EXPECT_EQ(0, readBytes("run", classicFile(defects)));
    expectClassic({{1001, -1001, 2002}, {}, {}, {-1}});
    // Far away and unread as the run has no length.
    FileHeadInfo info = headInfoOf(defects);
    info.clusterOffset = 0xFFFFFFFFu;
    EXPECT_EQ(0, readBytes("run", defectHeader(info) + sectionsOf(defects)));
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

TEST_F(StructuredDefectFile, holds_points_and_groups) {
    const DefectInfo defects = structuredDefects();
    for (const char* const name : kStructuredNames) {
        EXPECT_EQ(0, readBytes(name, structuredFile(defects)));
        expectClassic({});
        expectStructured(defects);
        EXPECT_EQ(0, getDefectIndexFromDefectFile(dir_.c_str(), name, nullptr, &structured_));
        expectStructured(defects);
    }
    EXPECT_EQ(0, readBytes(kStructuredNames[0], structuredFile(defects) + "more"));
    expectStructured(defects);
    EXPECT_EQ(0, readBytes(kStructuredNames[0], structuredFile({})));
    expectNothing();
}

TEST_F(StructuredDefectFile, sections_lie_in_any_order) {
    const DefectInfo defects = structuredDefects();
    FileHeadInfo info = headInfoOf(defects);
    const DefectInfo first{{}, defects.clusters, {}, {}};
    const DefectInfo second{defects.points, {}, defects.rows, defects.columns};
    const auto shift = static_cast<std::uint32_t>(sectionsOf(first).size()) + 3;
    info.pointOffset += shift;
    info.rowOffset += shift;
    info.columnOffset += shift;
    info.clusterOffset = kHeader;
    EXPECT_EQ(0, readBytes(kStructuredNames[1], defectHeader(info) + sectionsOf(first) + "gap" + sectionsOf(second)));
    expectStructured(defects);
}

TEST_F(DefectFile, truncated_files_are_refused) {
    const std::string classic = classicFile(classicDefects());
    const std::size_t clusters = headInfoOf(classicDefects()).clusterOffset;
    const std::string structured = structuredFile(structuredDefects());
    std::vector<std::size_t> sizes = {0, 1, 12, 40, 72, 8248, 8372, 65535};
    for (std::size_t size = kHeader; size < structured.size(); size += 3)
        sizes.push_back(size);
    for (const std::size_t size : sizes) {
        const std::string what = std::to_string(size) + " bytes";
        expectRefused(readBytes(kStructuredNames[0], structured.substr(0, size)), what);
        if (size < clusters)
            expectRefused(readBytes("classic", classic.substr(0, size)), what);
    }
    // Every separator may be the last one.
    for (std::size_t size = clusters; size <= classic.size(); ++size) {
        EXPECT_EQ(0, readBytes("classic", classic.substr(0, size)));
        VectorDefect expected = classicLists();
        expected.clusters.resize(size < clusters + 10 ? 0 : size < clusters + 16 ? 3 : 5);
        expectClassic(expected);
    }
}

using Field = std::uint32_t FileHeadInfo::*;
constexpr Field kCounts[] = {&FileHeadInfo::pointCount, &FileHeadInfo::rowCount, &FileHeadInfo::columnCount,
                             &FileHeadInfo::clusterCount};
constexpr Field kOffsets[] = {&FileHeadInfo::pointOffset, &FileHeadInfo::rowOffset, &FileHeadInfo::columnOffset,
                              &FileHeadInfo::clusterOffset};

TEST_F(DefectFile, lying_counts_are_refused) {
    const ClassicDefects classic = classicDefects();
    const DefectInfo structured = structuredDefects();
    for (std::size_t field = 0; field < 4; ++field) {
        std::vector<std::uint32_t> wrong(std::begin(kHuge), std::end(kHuge));
        FileHeadInfo info = headInfoOf(structured);
        wrong.push_back(info.*kCounts[field] + 1);
        for (const std::uint32_t count : wrong) {
            const std::string what = "count " + std::to_string(field) + " is " + std::to_string(count);
            info = headInfoOf(structured);
            info.*kCounts[field] = count;
            expectRefused(readBytes(kStructuredNames[0], defectHeader(info) + sectionsOf(structured)), what);
            if (field == 3)
                continue;
            info = headInfoOf(classic);
            info.*kCounts[field] = count;
            expectRefused(readBytes("classic", defectHeader(info) + sectionsOf(classic)), what);
        }
    }
    // The sum of both leaves 32 bits.
    FileHeadInfo info = headInfoOf(classic);
    info.rowCount = 0x80000000u;
    info.columnCount = 0x80000000u + 6;
    expectRefused(readBytes("classic", defectHeader(info) + sectionsOf(classic)), "sum of lines");
    // A point less makes the run of clusters longer than the file.
    info = headInfoOf(classic);
    --info.pointCount;
    expectRefused(readBytes("classic", defectHeader(info) + sectionsOf(classic)), "too long a run");
}

TEST_F(DefectFile, smaller_counts_leave_the_rest_of_a_section_unread) {
    for (const std::uint32_t count : {0u, 1u}) {
        for (std::size_t field = 0; field < 4; ++field) {
            DefectInfo expected = structuredDefects();
            FileHeadInfo info = headInfoOf(expected);
            info.*kCounts[field] = count;
            if (field == 0)
                expected.points.resize(count);
            else if (field == 1)
                expected.rows.resize(count);
            else if (field == 2)
                expected.columns.resize(count);
            else
                expected.clusters.resize(count);
            // An empty section lies anywhere.
            if (count == 0)
                info.*kOffsets[field] = 0xFFFFFFFFu;
            EXPECT_EQ(0, readBytes(kStructuredNames[0], defectHeader(info) + sectionsOf(structuredDefects())));
            expectStructured(expected);
        }
    }
}

TEST_F(DefectFile, sections_outside_the_file_or_over_others_are_refused) {
    const ClassicDefects classic = classicDefects();
    const DefectInfo structured = structuredDefects();
    const auto size = static_cast<std::uint32_t>(structuredFile(structured).size());
    for (std::size_t field = 0; field < 4; ++field) {
        std::vector<std::uint32_t> wrong(std::begin(kHuge), std::end(kHuge));
        const std::uint32_t right = headInfoOf(structured).*kOffsets[field];
        wrong.insert(wrong.end(), {0, 1, kHeader - 1, size, size - 1, size + 1, right - 16, right + 1, right + 16});
        for (const std::uint32_t offset : wrong) {
            const std::string what = "offset " + std::to_string(field) + " is " + std::to_string(offset);
            FileHeadInfo info = headInfoOf(structured);
            info.*kOffsets[field] = offset;
            expectRefused(readBytes(kStructuredNames[0], defectHeader(info) + sectionsOf(structured)), what);
            if (field == 2)
                continue;
            info = headInfoOf(classic);
            const std::uint32_t own = info.*kOffsets[field];
            info.*kOffsets[field] = offset == right - 16 ? own - 4 : offset == right + 16 ? own + 4 : offset;
            expectRefused(readBytes("classic", defectHeader(info) + sectionsOf(classic)), what);
        }
    }
    // A hole behind the header lets sections move without leaving the file: they meet each other.
    for (const Field moved : kOffsets) {
        for (const Field onto : kOffsets) {
            FileHeadInfo info = headInfoOf(structured);
            for (const Field offset : kOffsets)
                info.*offset += 16;
            info.*moved = info.*onto;
            const int status = readBytes(kStructuredNames[0], defectHeader(info) + words({0, 0, 0, 0, 0, 0, 0, 0}) +
                                                                  sectionsOf(structured) + std::string(200, '\0'));
            if (moved == onto)
                EXPECT_EQ(0, status);
            else
                expectRefused(status, "over another section");
        }
    }
}

TEST_F(StructuredDefectFile, lying_groups_are_refused) {
    const std::function<void(DefectInfo&, int)> groups[] = {
        [](DefectInfo& defects, int count) { defects.rows[1].header[0] = count; },
        [](DefectInfo& defects, int count) { defects.columns[1].header[0] = count; },
        [](DefectInfo& defects, int count) { defects.clusters[1].header[0] = count; }};
    for (const auto& setCount : groups) {
        for (const int count : {-1, -2, INT_MIN, INT_MAX, 2, 3, 1 << 27, 1 << 28}) {
            DefectInfo defects = structuredDefects();
            const FileHeadInfo info = headInfoOf(defects);
            setCount(defects, count);
            expectRefused(readBytes(kStructuredNames[0], defectHeader(info) + sectionsOf(defects)),
                          "count " + std::to_string(count));
        }
    }
    DefectInfo defects = structuredDefects();
    const FileHeadInfo info = headInfoOf(defects);
    defects.clusters[1].header[0] = 0;
    EXPECT_EQ(0, readBytes(kStructuredNames[0], defectHeader(info) + sectionsOf(defects)));
    defects.clusters[1].entries.clear();
    expectStructured(defects);
}

TEST_F(ClassicDefectFile, pixel_indices_beyond_an_int_are_refused) {
    ClassicDefects defects{65538, {{1, 32767}}, {}, {}};
    EXPECT_EQ(0, readBytes("wide", classicFile(defects)));
    EXPECT_EQ(Ints{INT_MAX}, classic_.points);
    defects.points = {{2, 32767}};
    expectRefused(readBytes("wide", classicFile(defects)), "point");
    defects = {0xFFFFFFFFu, {{5, 0}}, {}, {1, 2, -1}};
    expectRefused(readBytes("wide", classicFile(defects)), "cluster");
    defects.clusterWords = {7, 0, -1};
    EXPECT_EQ(0, readBytes("wide", classicFile(defects)));
    expectClassic({{5}, {7, -1}, {}, {}});
}

TEST_F(DefectFile, files_that_cannot_be_opened_and_null_arguments) {
    std::filesystem::create_directory(folder() / "folder");
    std::filesystem::create_directory(folder() / kStructuredNames[0]);
    for (const std::string& name : {std::string("none"), std::string("folder"), std::string(kStructuredNames[0]),
                                    std::string(kStructuredNames[1]), std::string(300, 'n')}) {
        EXPECT_EQ(1039, read(name)) << name;
        expectNothing();
    }
    store("classic", classicFile(classicDefects()));
    const char* const dir = dir_.c_str();
    EXPECT_EQ(1057, getDefectIndexFromDefectFile(nullptr, "classic", &classic_, &structured_));
    EXPECT_EQ(1057, getDefectIndexFromDefectFile(dir, nullptr, &classic_, &structured_));
    EXPECT_EQ(1057, getDefectIndexFromDefectFile(dir, "classic", nullptr, &structured_));
    EXPECT_EQ(1057, getDefectIndexFromDefectFile(dir, "classic", nullptr, nullptr));
    EXPECT_EQ(1057, getDefectIndexFromDefectFile(dir, kStructuredNames[0], &classic_, nullptr));
    expectNothing();
    EXPECT_TRUE(logLines().empty());
}

TEST(GetRealCoordinate, columns_are_out_of_range) {
    VectorDefect source{{10, 2005}, {5, -1}, {}, {4}};
    const VectorDefect destination{{1}, {2}, {3}, {4, 5, 6}};
    try {
        getRealCoordinate(&source, destination, 1000, 0, 0, 0, 500);
        FAIL() << "nothing was thrown";
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ("invalid vector<T> subscript", error.what());
    }
    EXPECT_EQ((Ints{10, 2005}), source.points);
    EXPECT_EQ((Ints{5, -1}), source.clusters);
    EXPECT_EQ(Ints{4}, source.columns);
    EXPECT_TRUE(source.rows.empty());
    EXPECT_EQ(Ints{1}, destination.points);
}

TEST(GetRealCoordinate, points_and_clusters_leave_no_trace) {
    VectorDefect source{{0, 10, -7, INT_MIN, INT_MAX}, {5, -1, INT_MIN}, {}, {}};
    const VectorDefect before = source;
    for (const int width : {1, 7, 1000, -1, INT_MIN, INT_MAX}) {
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
    std::vector<float> values;
    for (int i = 0; i < count; ++i)
        values.push_back(start + static_cast<float>(i));
    return values;
}

// The quarter holds the pixels (2 row + yPhase, 2 column + xPhase) of half the height and width, rounded down.
TEST(OperateSubImage, moves_one_phase_out_and_in) {
    for (int height = 0; height < 7; ++height) {
        for (int width = 0; width < 8; ++width) {
            for (int phase = 0; phase < 4; ++phase) {
                const int xPhase = phase % 2;
                const int yPhase = phase / 2;
                const std::vector<float> image = numbered(width * height, 1.0f);
                const std::vector<float> quarter = numbered(height / 2 * (width / 2), 500.0f);
                std::vector<float> expectedQuarter;
                std::vector<float> expectedImage = image;
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
                    EXPECT_EQ(expectedQuarter, actual) << width << " x " << height << ", phase " << phase;
                }
                std::vector<float> actual = image;
                operateSubImage(actual.data(), quarter.data(), width, height, xPhase, yPhase, 0);
                EXPECT_EQ(expectedImage, actual) << width << " x " << height << ", phase " << phase;
            }
        }
    }
}

class OperateNothing : public ::testing::TestWithParam<std::array<int, 4>> {};

// The buffers lie in the middle of a larger one, so that a stray access shows.
TEST_P(OperateNothing, is_written_for_other_phases_and_impossible_sizes) {
    const auto& [width, height, xPhase, yPhase] = GetParam();
    std::vector<float> first = numbered(300, 1.0f);
    const std::vector<float> second = numbered(300, 1000.0f);
    const std::vector<float> before = first;
    for (const int extract : {0, 1}) {
        operateSubImage(first.data() + 150, second.data() + 150, width, height, xPhase, yPhase, extract);
        EXPECT_TRUE(sameBitsEverywhere(before, first));
    }
    operateSubImage(nullptr, second.data(), 10, 10, 0, 0, 1);
    operateSubImage(first.data(), nullptr, 10, 10, 0, 0, 1);
    EXPECT_TRUE(sameBitsEverywhere(before, first));
}

INSTANTIATE_TEST_SUITE_P(, OperateNothing,
                         ::testing::Values(std::array{10, 10, 2, 0}, std::array{10, 10, 0, 2}, std::array{10, 10, 3, 1},
                                           std::array{10, 10, -1, 0}, std::array{10, 10, 0, -1},
                                           std::array{10, 10, -2, 1}, std::array{10, 10, 1, -2},
                                           std::array{10, 10, -3, -3}, std::array{10, 10, INT_MAX, 0},
                                           std::array{0, 10, 0, 0}, std::array{-4, 10, 1, 1}, std::array{10, -4, 0, 1},
                                           std::array{INT_MIN, 4, 0, 0}, std::array{4, INT_MIN, 0, 0},
                                           std::array{INT_MIN, INT_MIN, 1, 1}));

}  // namespace
