#include "DetectorFixture.h"

#include <QxUtils/Files.h>

#include <climits>
#include <cstdlib>
#include <map>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/stat.h>
#endif

namespace {

namespace fs = std::filesystem;
using qx::test::printedBy;
using qx::test::writeFile;
using Sizes = std::map<std::string, std::uint64_t>;

// The order of two creation times: each half by its wrapping difference.
int compareTimes(const _WIN32_FIND_DATAA& a, const _WIN32_FIND_DATAA& b) {
    const auto high = static_cast<int>(a.ftCreationTime.dwHighDateTime - b.ftCreationTime.dwHighDateTime);
    return high != 0 ? high : static_cast<int>(a.ftCreationTime.dwLowDateTime - b.ftCreationTime.dwLowDateTime);
}

class Directories : public qx::test::DetectorFixture {
protected:
    using Times = std::vector<std::pair<unsigned, unsigned>>;  // high and low half

    const std::string dir_ = folder().path();

    // A text of the same directory that is length characters long.
    std::string paddedDirectory(std::size_t length) const { return dir_ + std::string(length - dir_.size(), '/'); }

    // All three listings show these files.
    static void expectFiles(const std::string& dir, const Sizes& expected) {
        SCOPED_TRACE(dir);
        double total = 0;
        for (const auto& [name, size] : expected)
            total += static_cast<double>(size);
        EXPECT_EQ(total, getDirectorySpace(dir.c_str()));
        int count = 5, listed = 0;
        EXPECT_EQ(0, getFileNumInDirectory(dir.c_str(), count));
        EXPECT_EQ(5 + static_cast<int>(expected.size()), count);  // added to what was there
        _WIN32_FIND_DATAA* list = nullptr;
        EXPECT_EQ(0, sortFileByCreateTime(dir.c_str(), list, listed));
        EXPECT_EQ(static_cast<int>(expected.size()), listed);
        Sizes found;
        for (int i = 0; i < listed; ++i) {
            found[list[i].cFileName] = (std::uint64_t{list[i].nFileSizeHigh} << 32) + list[i].nFileSizeLow;
            EXPECT_GT(list[i].ftCreationTime.dwHighDateTime, 0x01D5C000u) << "before 2020";
            EXPECT_TRUE(i == 0 || compareTimes(list[i - 1], list[i]) <= 0) << i;
        }
        EXPECT_EQ(expected, found);
        releaseFileList(list);
        EXPECT_EQ(nullptr, list);
        releaseFileList(list);
    }

    // The names of a list with records of these times, "0", "1", ..., after a call.
    static std::string sortedNames(int status, const char* dir, const Times& times) {
        int count = static_cast<int>(times.size());
        auto* list = static_cast<_WIN32_FIND_DATAA*>(std::calloc(times.size(), sizeof(_WIN32_FIND_DATAA)));
        for (int i = 0; i < count; ++i) {
            list[i].ftCreationTime.dwHighDateTime = times[static_cast<std::size_t>(i)].first;
            list[i].ftCreationTime.dwLowDateTime = times[static_cast<std::size_t>(i)].second;
            list[i].cFileName[0] = static_cast<char>('0' + i);
        }
        EXPECT_EQ(status, sortFileByCreateTime(dir, list, count));
        std::string names;
        for (int i = 0; i < count; ++i)
            names += list[i].cFileName;
        std::free(list);
        return names;
    }

    // None of the three can list this directory.
    static void expectUnlistable(const char* dir) {
        SCOPED_TRACE(dir == nullptr ? "null" : dir);
        const int expected = dir == nullptr ? 1057 : 1;
        EXPECT_EQ(1.0, getDirectorySpace(dir));
        int count = 5;
        EXPECT_EQ(expected, getFileNumInDirectory(dir, count));
        EXPECT_EQ(5, count);
        EXPECT_EQ("01", sortedNames(expected, dir, {{2, 0}, {1, 0}}));
    }
};

using SortedFiles = Directories;

TEST_F(Directories, existing_paths_pass_and_missing_ones_are_explained_under_the_debug_flag) {
    writeFile(folder() / "file", "x");
    const std::string explanation =
        "Work Directory String Error,Please insure that Path is right and use '\\\\' instead of '\\' to separate the "
        "directories.\n";
    char* null = nullptr;
    for (int flag : {0, 1}) {
        setDebug(flag);
        for (std::string path : {dir_, kitDirectory(dir_), dir_.substr(0, dir_.size() - 1), folder() / "file"})
            EXPECT_EQ("", printedBy([&, text = path.data()]() mutable { EXPECT_EQ(0, CheckDirPath(text)) << path; }));
        for (std::string path :
             {folder() / "missing", kitDirectory(dir_ + "missing"), std::string(), dir_ + std::string(300, 'd')})
            EXPECT_EQ(flag == 0 ? "" : explanation,
                      printedBy([&, text = path.data()]() mutable { EXPECT_EQ(1038, CheckDirPath(text)) << path; }));
        EXPECT_EQ("", printedBy([&] { EXPECT_EQ(1057, CheckDirPath(null)); }));
    }
}

TEST_F(Directories, files_count_and_subdirectories_do_not) {
    expectFiles(dir_, {});
    Sizes files = {{"b.raw", 4096}, {"a", 1}, {"empty", 0}, {" two  words.txt", 17}, {".hidden", 70000}};
    for (int i = 0; i < 100; ++i)
        files["gain image " + std::to_string(i)] = static_cast<std::uint64_t>(i);
    for (const auto& [name, size] : files)
        writeFile(folder() / name, std::string(size, 'x'));
    fs::create_directory(folder() / "sub folder");
    writeFile(folder() / "sub folder/inner", "12345");
    expectFiles(dir_, files);
    expectFiles(kitDirectory(dir_), files);
    expectFiles(kitDirectory(dir_ + "sub folder"), {{"inner", 5}});
    // No text is the current directory.
    const fs::path before = fs::current_path();
    fs::current_path(folder() / "sub folder");
    expectFiles("", {{"inner", 5}});
    fs::current_path(before);
}

TEST_F(Directories, that_cannot_be_listed) {
    writeFile(folder() / "file", "x");
    expectUnlistable(nullptr);
    for (const std::string& dir : {kitDirectory(dir_ + "missing"), kitDirectory(dir_ + "file"), paddedDirectory(255),
                                   paddedDirectory(300), paddedDirectory(5000)})
        expectUnlistable(dir.c_str());
}

TEST_F(Directories, entry_whose_joined_path_is_too_long_is_not_there) {
    writeFile(folder() / "a", "12345");
    writeFile(folder() / "bb", "123");
    expectFiles(paddedDirectory(253), {{"a", 5}, {"bb", 3}});
    expectFiles(paddedDirectory(254), {{"a", 5}});
}

#ifdef __linux__
// Opening a pipe that nobody writes to would wait for ever.
TEST_F(Directories, entries_that_are_no_regular_files_and_a_size_beyond_32_bits) {
    writeFile(folder() / "file", "12345");
    ASSERT_EQ(0, mkfifo((folder() / "pipe").c_str(), 0600));
    fs::create_symlink("nowhere", folder() / "dangling");
    fs::create_symlink("loop", folder() / "loop");
    fs::create_directory(folder() / "folder");
    fs::create_directory_symlink("folder", folder() / "to-folder");
    writeFile(folder() / "folder/inner", "123");
    writeFile(folder() / "folder\\inner", "1");               // no text names it: '\\' separates
    const std::uint64_t size = (std::uint64_t{5} << 30) + 3;  // takes no room
    fs::resize_file(folder() / "file", size);
    expectFiles(dir_, {{"file", size}});
    fs::create_symlink("file", folder() / "to-file");
    int count = 0;
    EXPECT_EQ(0, getFileNumInDirectory(dir_.c_str(), count));
    EXPECT_EQ(2, count);
    EXPECT_EQ(2.0 * static_cast<double>(size), getDirectorySpace(dir_.c_str()));
}
#endif

TEST_F(Directories, console_names_every_entry_under_the_debug_flag) {
    writeFile(folder() / "two words", "12345");
    fs::create_directory(folder() / "sub");
    const std::string start = "Full path: ", error = " \nError opening file.\n";
    for (int flag : {0, 1}) {
        setDebug(flag);
        std::string printed = printedBy([&] { getDirectorySpace(dir_.c_str()); });
        // Entries come in any order.
        for (const std::string& block : {start + dir_ + "." + error, start + dir_ + ".." + error,
                                         start + dir_ + "sub" + error, start + dir_ + "two words \n"}) {
            const std::size_t at = printed.find(block);
            ASSERT_EQ(flag == 0, at == std::string::npos) << block;
            if (flag != 0)
                printed.erase(at, block.size());
        }
        EXPECT_EQ("", printed);
        EXPECT_EQ("", printedBy([&] {
                      expectUnlistable((dir_ + "missing/").c_str());
                      sortedNames(0, dir_.c_str(), {{1, 0}});
                      int count = 0;
                      getFileNumInDirectory(dir_.c_str(), count);
                  }));
    }
}

// A list that is passed in is sorted together with what is added; here there is nothing to add.
TEST_F(SortedFiles, order_of_two_times_whatever_comes_first) {
    constexpr unsigned kHalf = 0x80000000u, kLast = 0xFFFFFFFFu;
    const Times inOrder[] = {{{1, 5}, {1, 6}},
                             {{1, kLast}, {2, 0}},  // the high half goes first
                             {{7, 0}, {7, kHalf - 1}},
                             {{7, kHalf + 1}, {7, 0}},  // more than 214 s apart: the difference wraps
                             {{7, kLast}, {7, 0}},
                             {{7, kHalf - 1}, {7, kHalf}},
                             {{kHalf + 1, 3}, {0, 3}},
                             {{kLast, 9}, {1, 2}},
                             {{kHalf - 1, 0}, {kHalf, kLast}}};
    for (const Times& times : inOrder) {
        EXPECT_EQ("01", sortedNames(0, dir_.c_str(), times)) << times[0].first << ' ' << times[0].second;
        EXPECT_EQ("10", sortedNames(0, dir_.c_str(), {times[1], times[0]})) << times[0].first;
    }
    writeFile(folder() / "new", "12345");
    EXPECT_EQ("421new30", sortedNames(0, dir_.c_str(), {{0x7FFFFFF0, 0}, {3, 1}, {3, 0}, {0x40000000, 0}, {2, 9}}));
}

TEST_F(SortedFiles, records_and_count_must_agree) {
    writeFile(folder() / "file", "x");
    _WIN32_FIND_DATAA record{};
    for (int count : {1, 7, -1, INT_MIN}) {
        _WIN32_FIND_DATAA* list = count > 0 ? nullptr : &record;
        const _WIN32_FIND_DATAA* const before = list;
        int changed = count;
        EXPECT_EQ(1020, sortFileByCreateTime(dir_.c_str(), list, changed));
        EXPECT_TRUE(list == before && changed == count) << count;
    }
}

}  // namespace
