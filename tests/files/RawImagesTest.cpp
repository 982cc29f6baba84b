#include "DetectorFixture.h"

#include <QxUtils/Files.h>

#include <functional>

#ifdef __linux__
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <thread>
#include <unistd.h>
#endif

namespace {

namespace fs = std::filesystem;
using qx::test::printedBy;
using qx::test::randomBytes;
using qx::test::readFile;
using qx::test::writeFile;

class RawImages : public qx::test::DetectorFixture {
protected:
    const std::string dir_ = folder().path();

    int write(const std::string& name, const std::string& bytes) const {
        return writeImageToDisk(dir_.c_str(), name.c_str(), bytes.data(), static_cast<int>(bytes.size()));
    }
    std::ptrdiff_t entries() const { return std::distance(fs::directory_iterator(dir_), fs::directory_iterator()); }
    // A name that makes the joined path length characters long.
    std::string nameForPathOf(std::size_t length) const { return std::string(length - dir_.size(), 'n'); }
};

// An emulator's processes cannot start programs of its system, and it has a line of its own for those that die.
constexpr const char* kDeathTestStyle = sizeof QX_EMULATOR > 1 ? "fast" : "threadsafe";
#define QX_LAST "(qemu: [^\n]+\n)?$"

using WriteImage = RawImages;
using ReadImage = RawImages;
using ImageSize = RawImages;
using CleanFile = RawImages;
using CopyFile = RawImages;
using FileConsole = RawImages;

TEST_F(WriteImage, file_holds_exactly_the_bytes) {
    for (std::size_t size : {0u, 1u, 2u, 255u, 4096u, 100001u}) {
        const std::string bytes = randomBytes(size, size);
        EXPECT_EQ(0, write("image.raw", bytes));  // also replaces a longer or shorter file
        EXPECT_EQ(bytes, readFile(folder() / "image.raw"));
    }
    EXPECT_EQ(1, entries());
}

TEST_F(WriteImage, missing_directory_is_created_one_level_deep) {
    const std::string one = kitDirectory(dir_ + "new");
    EXPECT_EQ(0, writeImageToDisk(one.c_str(), "a.raw", "xy", 2));
    EXPECT_EQ("xy", readFile(fs::path(dir_) / "new" / "a.raw"));
    const std::string two = kitDirectory(dir_ + "p\\q");
    EXPECT_EQ(1039, writeImageToDisk(two.c_str(), "a.raw", "xy", 2));
    EXPECT_FALSE(fs::exists(folder() / "p"));
}

TEST_F(WriteImage, faults) {
    EXPECT_EQ(1057, writeImageToDisk(nullptr, "a.raw", "x", 1));
    EXPECT_EQ(1057, writeImageToDisk(dir_.c_str(), nullptr, "x", 1));
    EXPECT_EQ(1057, writeImageToDisk(dir_.c_str(), "a.raw", nullptr, 1));
    EXPECT_EQ(1020, writeImageToDisk(dir_.c_str(), "a.raw", "x", -1));
    EXPECT_TRUE(fs::is_empty(dir_));
    fs::create_directory(folder() / "taken");
    EXPECT_EQ(1039, write("taken", "x"));
    EXPECT_EQ(0, write(nameForPathOf(255), "x"));
    EXPECT_EQ(1039, write(nameForPathOf(256), "x"));
}

#ifdef __linux__
TEST_F(WriteImage, full_disk_is_a_short_write) {
    for (std::size_t size : {1u, 4096u, 300000u}) {
        const std::string bytes = randomBytes(size, 1);
        EXPECT_EQ(1041, writeImageToDisk("/dev/", "full", bytes.data(), static_cast<int>(size))) << size;
    }
    EXPECT_EQ(0, writeImageToDisk("/dev/", "full", "", 0));
}

TEST_F(WriteImage, failure_leaves_the_old_content_or_none) {
    write("old", "old");
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{4096, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const int statuses[] = {write("old", std::string(5000, 'x')), write("new", std::string(5000, 'x'))};
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(1041, statuses[0]);
    EXPECT_EQ(1041, statuses[1]);
    EXPECT_EQ("old", readFile(folder() / "old"));
    EXPECT_EQ(1, entries());
}

uid_t ownerOf(const fs::path& file) {
    struct stat status {};
    stat(file.c_str(), &status);
    return status.st_uid;
}

TEST_F(WriteImage, file_stays_what_it_is_but_for_its_content) {
    const fs::path file = folder() / "file", link = folder() / "link", nowhere = folder() / "nowhere";
    fs::create_directory(folder() / "elsewhere");
    writeFile(file, "old");
    fs::permissions(file, fs::perms{0640});
    std::ifstream reader(file);
    fs::create_symlink("file", link);
    constexpr uid_t kStranger = 12345;
    const bool isStrange = geteuid() == 0 && chown(file.c_str(), kStranger, getegid()) == 0;
    const int input = dup(STDIN_FILENO);
    close(STDIN_FILENO);  // the next file takes its number
    EXPECT_EQ(0, write("link", "new"));
    dup2(input, STDIN_FILENO);
    close(input);
    EXPECT_EQ(isStrange ? kStranger : geteuid(), ownerOf(file));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ("new", readFile(file));
    EXPECT_EQ(fs::perms{0640}, fs::status(file).permissions());
    EXPECT_EQ("old", std::string(std::istreambuf_iterator<char>(reader), {}));

    const fs::path second = folder() / "second name";
    fs::create_hard_link(file, second);
    EXPECT_EQ(0, write("file", "both"));
    EXPECT_EQ("both", readFile(second));

    fs::create_symlink("elsewhere/made", nowhere);
    EXPECT_EQ(0, write("nowhere", "made"));
    EXPECT_EQ("made", readFile(fs::path(folder() / "elsewhere") / "made"));
    EXPECT_TRUE(fs::is_symlink(nowhere));
    EXPECT_EQ(5, entries());
}

// Linux's own form of access lists: tag, rights and id of the owner, a named user, the group, the mask and others.
TEST_F(WriteImage, file_gets_no_access_list_of_its_directory) {
    struct {
        std::uint32_t version = 2;
        struct {
            std::uint16_t tag, rights;
            std::uint32_t id;
        } entries[5] = {{1, 7, ~0u}, {2, 6, 1234}, {4, 5, ~0u}, {0x10, 7, ~0u}, {0x20, 5, ~0u}};
    } const list;
    writeFile(folder() / "file", "old");
    if (setxattr(dir_.c_str(), "system.posix_acl_default", &list, sizeof list, 0) != 0)
        GTEST_SKIP() << "this file system keeps no access lists";
    EXPECT_EQ(0, write("file", "new"));
    EXPECT_EQ("new", readFile(folder() / "file"));
    EXPECT_GT(0, getxattr((folder() / "file").c_str(), "system.posix_acl_access", nullptr, 0));
    EXPECT_EQ(1, entries());
}

TEST_F(WriteImage, pipe_is_written_and_stays) {
    const std::string path = folder() / "pipe";
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    EXPECT_EQ(1039, write("pipe", "abc"));  // nobody reads it
    const int pipe = open(path.c_str(), O_RDWR);
    EXPECT_EQ(0, write("pipe", "abc"));
    char bytes[4] = "";
    EXPECT_EQ(3, ::read(pipe, bytes, 3));
    EXPECT_STREQ("abc", bytes);
    close(pipe);
    EXPECT_TRUE(fs::is_fifo(path));
    EXPECT_EQ(1, entries());
}
#endif

// What a writer that died left behind is nobody's image.
TEST_F(RawImages, files_that_stand_beside_are_passed_over) {
#ifdef __linux__
    const auto writeAndDie = [&] {
        const rlimit none{}, small{100, 100};
        setrlimit(RLIMIT_CORE, &none);
        setrlimit(RLIMIT_FSIZE, &small);
        write("image", std::string(200, 'x'));
    };
    EXPECT_EXIT(writeAndDie(), ::testing::KilledBySignal(SIGXFSZ), "");
    EXPECT_EQ(1, entries());
#endif
    for (const char* name : {".qx-0123ef", ".qx-0123eg", ".qx-0123e", ".qx-0123ef0"})
        writeFile(folder() / name, "123");
    int count = 0;
    EXPECT_EQ(0, getFileNumInDirectory(dir_.c_str(), count));
    EXPECT_EQ(3, count);
    EXPECT_EQ(9.0, getDirectorySpace(dir_.c_str()));
}

TEST_F(ReadImage, first_bytes_arrive_and_nothing_behind_them) {
    const std::string bytes = randomBytes(70000, 3);
    writeFile(folder() / "image.raw", bytes);
    for (int size : {0, 1, 2, 4095, 65537, 70000}) {
        std::string buffer(70001, '#');
        EXPECT_EQ(0, readImageFromDisk(dir_.c_str(), "image.raw", buffer.data(), size));
        EXPECT_EQ(bytes.substr(0, size), buffer.substr(0, size));
        EXPECT_EQ(std::string::npos, buffer.find_first_not_of('#', size));
    }
}

TEST_F(ReadImage, short_file_leaves_what_was_read) {
    writeFile(folder() / "short.raw", "abc");
    std::string buffer(8, '#');
    EXPECT_EQ(1040, readImageFromDisk(dir_.c_str(), "short.raw", buffer.data(), 4));
    EXPECT_EQ("abc#####", buffer);
    writeFile(folder() / "empty.raw", "");
    EXPECT_EQ(1040, readImageFromDisk(dir_.c_str(), "empty.raw", buffer.data(), 1));
    EXPECT_EQ(0, readImageFromDisk(dir_.c_str(), "empty.raw", buffer.data(), 0));
}

#ifdef __linux__
// The pipe is open for writing, and nothing is in it yet.
TEST_F(ReadImage, pipe_is_waited_for) {
    const std::string path = folder() / "pipe";
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const int pipe = open(path.c_str(), O_RDWR);
    std::thread writer([=] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        EXPECT_EQ(3, ::write(pipe, "abc", 3));
    });
    std::string buffer(3, '#');
    EXPECT_EQ(0, readImageFromDisk(dir_.c_str(), "pipe", buffer.data(), 3));
    EXPECT_EQ("abc", buffer);
    writer.join();
    close(pipe);
}
#endif

// What every operation that opens an existing file does with one that cannot be opened.
TEST_F(RawImages, unreadable_files) {
    fs::create_directory(folder() / "folder");
    writeFile(folder() / nameForPathOf(255), "x");
    const std::string tooLong = nameForPathOf(255) + "n";
    std::string buffer(4, '#');
    long size = -7;
    unsigned long crc = 77;
    setDebug(0);
    const auto expectAll = [&](int expected, const char* dir, const char* name) {
        EXPECT_EQ(expected, readImageFromDisk(dir, name, buffer.data(), 1));
        EXPECT_EQ(expected, imageWithHead(dir, name, 1));
        EXPECT_EQ(expected, getImageSize(dir, name, size));
        printedBy([&] { EXPECT_EQ(expected, readLocalCRC(dir, name, crc)); });
    };
    for (const std::string& name : {std::string("missing.raw"), std::string("folder"), std::string(), tooLong}) {
        SCOPED_TRACE(name);
        expectAll(1039, dir_.c_str(), name.c_str());
    }
    expectAll(1039, "", "");
    expectAll(1057, nullptr, "a");
    expectAll(1057, dir_.c_str(), nullptr);
    EXPECT_EQ(1057, readImageFromDisk(dir_.c_str(), "a", nullptr, 1));
    EXPECT_EQ(1020, readImageFromDisk(dir_.c_str(), "a", buffer.data(), -1));
    EXPECT_EQ("####", buffer);
    EXPECT_EQ(-7, size);
    EXPECT_EQ(77u, crc);
    EXPECT_EQ(0, readImageFromDisk(dir_.c_str(), nameForPathOf(255).c_str(), buffer.data(), 1));
}

TEST_F(ImageSize, only_an_exact_match_counts_as_expected) {
    for (int size : {0, 1, 65536, 65541}) {
        writeFile(folder() / "image.raw", randomBytes(size, 9));
        EXPECT_EQ(1, imageWithHead(dir_.c_str(), "image.raw", size));
        EXPECT_EQ(0, imageWithHead(dir_.c_str(), "image.raw", size + 1));
        EXPECT_EQ(0, imageWithHead(dir_.c_str(), "image.raw", size - 1));
        long length = -7;
        EXPECT_EQ(0, getImageSize(dir_.c_str(), "image.raw", length));
        EXPECT_EQ(size, length);
    }
}

TEST_F(CleanFile, empties_or_creates) {
    writeFile(folder() / "old.txt", "content");
    for (const char* name : {"old.txt", "new.txt"}) {
        EXPECT_EQ(0, cleanFile(dir_.c_str(), name));
        EXPECT_TRUE(fs::exists(folder() / name));
        EXPECT_EQ(0u, fs::file_size(folder() / name));
    }
    fs::create_directory(folder() / "folder");
    EXPECT_EQ(1039, cleanFile(dir_.c_str(), "folder"));
    EXPECT_EQ(1039, cleanFile((dir_ + "missing/").c_str(), "a"));
    EXPECT_EQ(0, cleanFile(dir_.c_str(), nameForPathOf(255).c_str()));
    EXPECT_EQ(1057, cleanFile(nullptr, "a"));
    EXPECT_EQ(1057, cleanFile(dir_.c_str(), nullptr));
}

// Without a folder of its own: the process that dies could not remove it.
TEST(CleanFileLimit, joined_path_above_255_characters_is_fatal) {
    GTEST_FLAG_SET(death_test_style, kDeathTestStyle);
    const std::string dir = std::string(200, 'd') + '/';
    EXPECT_EQ(1039, cleanFile(dir.c_str(), std::string(54, 'n').c_str()));
#ifndef _WIN32
    const std::string oneLine = "^[^\n]+\n" QX_LAST;
    EXPECT_EXIT(cleanFile(dir.c_str(), std::string(55, 'n').c_str()), ::testing::KilledBySignal(SIGABRT), oneLine);
    EXPECT_EXIT(cleanFile(std::string(5000, 'd').c_str(), "n"), ::testing::KilledBySignal(SIGABRT), oneLine);
    // What was printed before is not lost.
    const auto printAndDie = [] {
        std::fputs("printed", stdout);
        dup2(STDERR_FILENO, STDOUT_FILENO);
        cleanFile(std::string(5000, 'd').c_str(), "n");
    };
    EXPECT_EXIT(printAndDie(), ::testing::KilledBySignal(SIGABRT), "printed" QX_LAST);
#endif
}

TEST_F(CopyFile, copies_every_byte) {
    for (std::size_t size : {0u, 1u, 4096u, 65535u, 65537u, 300001u}) {
        const std::string bytes = randomBytes(size, size + 1);
        writeFile(folder() / "from", bytes);
        EXPECT_EQ(0, copyFile((folder() / "to").c_str(), (folder() / "from").c_str()));
        EXPECT_EQ(bytes, readFile(folder() / "to"));
    }
}

TEST_F(CopyFile, failures_are_silent) {
    EXPECT_EQ(0, copyFile((folder() / "to").c_str(), (folder() / "missing").c_str()));
    EXPECT_FALSE(fs::exists(folder() / "to"));
    fs::create_directory(folder() / "folder");
    EXPECT_EQ(0, copyFile((folder() / "to").c_str(), (folder() / "folder").c_str()));
    EXPECT_FALSE(fs::exists(folder() / "to"));
    writeFile(folder() / "from", "abc");
    EXPECT_EQ(0, copyFile((folder() / "folder").c_str(), (folder() / "from").c_str()));
    EXPECT_TRUE(fs::is_directory(folder() / "folder"));
    EXPECT_EQ(0, copyFile(nullptr, (folder() / "from").c_str()));
    EXPECT_EQ(0, copyFile((folder() / "to").c_str(), nullptr));
    EXPECT_FALSE(fs::exists(folder() / "to"));
    EXPECT_EQ("abc", readFile(folder() / "from"));
}

TEST_F(CopyFile, file_copied_onto_itself_ends_up_empty) {
    writeFile(folder() / "same", "abc");
    EXPECT_EQ(0, copyFile((folder() / "same").c_str(), (folder() / "same").c_str()));
    EXPECT_EQ("", readFile(folder() / "same"));
}

TEST_F(FileConsole, messages_appear_under_the_debug_flag_alone) {
    writeFile(folder() / "five", "12345");
    fs::create_directory(folder() / "folder");
    const char* dir = dir_.c_str();
    const std::string made = kitDirectory(dir_ + "made");
    const auto fullPath = [&](const std::string& name) { return "Full path: " + dir_ + name + " \n"; };
    char buffer[8];
    long size = 0;
    const struct {
        std::function<void()> call;
        std::string expected;
    } cases[] = {
        {[&] { writeImageToDisk(dir, "out", "abc", 3); }, fullPath("out") + " fwrite return count=3\n"},
        {[&] { writeImageToDisk(dir, "folder", "abc", 3); }, fullPath("folder") + "Error create file to write image!"},
        {[&] {
             writeImageToDisk(made.c_str(), "out", "abc", 3);
             fs::remove_all(folder() / "made");
         },
         "Work Directory String Error,Please insure that Path is right and use '\\\\' instead of '\\' to separate the "
         "directories.\nFull path: " +
             made + "out \n fwrite return count=3\n"},
        {[&] { readImageFromDisk(dir, "five", buffer, 5); }, fullPath("five") + " fread return count=5\n"},
        {[&] { readImageFromDisk(dir, "five", buffer, 8); },
         fullPath("five") + " fread return count=5\nRead file error!\n"},
        {[&] { readImageFromDisk(dir, "none", buffer, 8); }, fullPath("none") + "Error opening file.\n"},
        {[&] { imageWithHead(dir, "five", 5); }, fullPath("five")},
        {[&] { imageWithHead(dir, "none", 5); }, fullPath("none") + "Error opening file.\n"},
        {[&] { getImageSize(dir, "five", size); }, fullPath("five")},
        {[&] { getImageSize(dir, "none", size); }, fullPath("none") + "Error opening file.\n"},
        {[&] { cleanFile(dir, "out"); }, fullPath("out")},
        {[&] { cleanFile(dir, "folder"); }, fullPath("folder") + "Error create file to write!"},
        {[&] { copyFile((folder() / "to").c_str(), (folder() / "none").c_str()); }, ""},
        {[&] { readImageFromDisk(nullptr, "five", buffer, 5); }, ""},
#ifdef __linux__
        {[&] { writeImageToDisk("/dev/", "full", "", 0); }, "Full path: /dev/full \n fwrite return count=0\n"},
        {[&] { writeImageToDisk("/dev/", "full", "abc", 3); },
         "Full path: /dev/full \n fwrite return count=0\nWrite file error!\n"},
#endif
    };
    for (int flag : {0, 1, -1}) {
        setDebug(flag);
        for (const auto& c : cases)
            EXPECT_EQ(flag == 0 ? "" : c.expected, printedBy(c.call));
    }
}

TEST(CodecData, byte_i_meets_its_index_modulo_256_where_there_is_one) {
    for (int length : {1, 2, 255, 256, 257, 700}) {
        const std::string original = randomBytes(length + 1, length);
        std::string expected = original;
        for (int i = 0; i < length; ++i)
            expected[i] = static_cast<char>(expected[i] ^ (i % 256));
        std::string bytes = original;
        EXPECT_EQ(0, codecData(bytes.data(), length));
        EXPECT_EQ(expected, bytes);
        EXPECT_EQ(0, codecData(bytes.data(), length));
        EXPECT_EQ(original, bytes);
        for (int none : {0, -1, -2147483647 - 1})
            EXPECT_EQ(0, codecData(bytes.data(), none));
        EXPECT_EQ(original, bytes);
    }
    EXPECT_EQ(0, codecData(nullptr, 5));
}

TEST(GainExposureTime, number_between_the_markers) {
    const struct {
        std::string name;
        int expected;
    } cases[] = {{"gain-300ms-25-mA.raw", 25},
                 {"ms-0-mA", 0},
                 {"ms-007-mA", 7},
                 {"ms-12ab34-mA", 12},
                 {"ms-ab-mA", 0},
                 {"ms--mA", 0},
                 {"ms-2147483647-mA", 2147483647},
                 {"ms-" + std::string(48, '0') + "9-mA", 9},  // 49 characters
                 {"ms-1-mA-ms-2-mA", 1},
                 {"5ms-ms-6-mA", 0},  // the first "ms-" counts
                 {"", 1020},
                 {"gain.raw", 1020},
                 {"ms-25", 1020},
                 {"25-mA", 1020},
                 {"-mA25ms-", 1020},
                 {"-mA-ms-25-mA", 1020},  // the first "-mA" counts
                 {std::string(60, 'x') + "ms-25-mA" + std::string(60, 'x'), 25},
                 {"ms-mA", 1020},  // the markers overlap
                 {"MS-25-MA", 1020}};
    for (const auto& c : cases)
        EXPECT_EQ(c.expected, getGainExpTime(c.name.c_str())) << c.name;
    EXPECT_EQ(1057, getGainExpTime(nullptr));
}

#ifndef _WIN32
TEST(GainExposureTime, fifty_characters_between_the_markers_are_fatal) {
    GTEST_FLAG_SET(death_test_style, kDeathTestStyle);
    for (std::size_t digits : {50u, 5000u}) {
        const std::string name = "ms-" + std::string(digits, '0') + "-mA";
        EXPECT_EXIT(getGainExpTime(name.c_str()), ::testing::KilledBySignal(SIGABRT), "^[^\n]+\n" QX_LAST);
    }
}
#endif

}  // namespace
