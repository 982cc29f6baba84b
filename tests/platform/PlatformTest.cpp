#include "Builders.h"

#include "foundation/CheckedNumbers.h"
#include "foundation/JoinedPath.h"
#include "platform/ByteOrder.h"
#include "platform/DirectoryRecord.h"
#include "platform/FileSystem.h"
#include "platform/NativePath.h"
#include "platform/Random.h"
#include "platform/SharedAppend.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstring>
#include <filesystem>
#include <limits>
#include <map>

namespace {

using namespace qx;
using qx::test::TemporaryDirectory;

TEST(NativePath, that_does_not_fit_names_no_file) {
    EXPECT_STREQ("", NativePath(nullptr).c_str());
    EXPECT_STREQ("", NativePath(std::string(5000, 'a').c_str()).c_str());
#ifndef _WIN32
    EXPECT_STREQ("a/b/c.raw", NativePath("a\\b/c.raw").c_str());
#endif
}

TEST(JoinedPath, holds_255_characters) {
    const std::string directory(200, 'd');
    const JoinedPath longest(directory.c_str(), std::string(55, 'n').c_str());
    EXPECT_TRUE(longest.fits());
    EXPECT_EQ(255u, std::string(longest.c_str()).size());
    const JoinedPath tooLong(directory.c_str(), std::string(56, 'n').c_str());
    EXPECT_FALSE(tooLong.fits());
    EXPECT_STREQ("", tooLong.c_str());
}

TEST(FileSystem, tells_files_from_directories) {
    const TemporaryDirectory folder;
    const std::string nested = folder / "nested";
    const std::string file = folder / "file";
    EXPECT_TRUE(createDirectory(nested.c_str()));
    EXPECT_FALSE(createDirectory((folder / "missing/deeper").c_str()));
    test::writeFile(file, "12345");
    EXPECT_TRUE(pathExists(nested.c_str()));
    EXPECT_FALSE(pathExists((folder / "missing").c_str()));
    EXPECT_FALSE(pathExists(nullptr));
    EXPECT_TRUE(isRegularFile(file.c_str()));
    EXPECT_FALSE(isRegularFile(nested.c_str()));
    EXPECT_EQ(nullptr, openFile(nested.c_str(), OpenMode::ReadBinary));
    EXPECT_FALSE(deleteFile(nested.c_str()));
    EXPECT_TRUE(pathExists(nested.c_str()));
    EXPECT_TRUE(deleteFile(file.c_str()));
    EXPECT_FALSE(pathExists(file.c_str()));
}

TEST(DirectoryListing, gives_names_kinds_sizes_and_times) {
    const TemporaryDirectory folder;
    test::writeFile(folder / "file", "12345");
    createDirectory((folder / "nested").c_str());
    std::map<std::string, DirectoryEntry> found;
    DirectoryListing listing(folder.path().c_str());
    ASSERT_TRUE(listing.started());
    for (DirectoryEntry entry{}; listing.next(entry);)
        found[entry.name] = entry;
    ASSERT_EQ(1u, found.count("file"));
    ASSERT_EQ(1u, found.count("nested"));
    EXPECT_EQ(5, found["file"].size);
    EXPECT_FALSE(found["file"].isDirectory);
    EXPECT_TRUE(found["nested"].isDirectory);
    constexpr std::uint64_t kYear2020 = 132'223'104'000'000'000;
    EXPECT_GT(found["file"].creationTime, kYear2020);
    EXPECT_FALSE(DirectoryListing((folder / "missing/").c_str()).started());
}

TEST(DirectoryListing, records_hold_attributes_size_and_times) {
    constexpr std::uint32_t kReadOnly = 0x01, kDirectory = 0x10;
    const auto ticks = [](const auto& time) { return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime; };
    const TemporaryDirectory folder;
    createDirectory((folder / "nested").c_str());
    test::writeFile(folder / "file", "12345");
    std::filesystem::last_write_time(folder / "file",
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(1000));
    std::filesystem::permissions(folder / "file", std::filesystem::perms::owner_read);
    std::map<std::string, DirectoryRecord> found;
    DirectoryListing listing(folder.path().c_str());
    for (DirectoryEntry entry{}; listing.next(entry);) {
        const DirectoryRecord record = found[entry.name] = listing.record();
        EXPECT_STREQ(entry.name, record.cFileName);
        EXPECT_EQ(entry.creationTime, ticks(record.ftCreationTime)) << entry.name;
        EXPECT_EQ(entry.modificationTime, ticks(record.ftLastWriteTime)) << entry.name;
    }
    std::filesystem::permissions(folder / "file", std::filesystem::perms::owner_all);
    const DirectoryRecord& file = found["file"];
    EXPECT_EQ(kReadOnly, file.dwFileAttributes & (kReadOnly | kDirectory));
    EXPECT_EQ(kDirectory, found["nested"].dwFileAttributes & (kReadOnly | kDirectory));
    EXPECT_EQ(5u, file.nFileSizeLow);
    EXPECT_EQ(0u, file.nFileSizeHigh);
    EXPECT_GT(ticks(file.ftLastAccessTime), ticks(file.ftLastWriteTime));
}

#ifndef _WIN32
TEST(DirectoryListing, tells_creation_from_modification_and_keeps_dangling_links) {
    const TemporaryDirectory folder;
    test::writeFile(folder / "file", "1");
    std::filesystem::last_write_time(folder / "file",
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(1000));
    std::filesystem::create_symlink("nowhere", folder / "link");
    std::map<std::string, DirectoryEntry> found;
    DirectoryListing listing(folder.path().c_str());
    for (DirectoryEntry entry{}; listing.next(entry);)
        found[entry.name] = entry;
    EXPECT_EQ(1u, found.count("link"));
    constexpr std::uint64_t kTicksPerHour = 36'000'000'000;
    const std::uint64_t age = found["file"].creationTime - found["file"].modificationTime;
    // A file system without creation times gives the modification time for both.
    EXPECT_TRUE(age == 0 || age / kTicksPerHour == 1000 || age / kTicksPerHour == 999) << age;
}
#endif

TEST(NetworkToHost, reads_big_endian_values) {
    const unsigned char bytes[] = {0x12, 0x34, 0x56, 0x78};
    std::uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    EXPECT_EQ(0x12345678u, networkToHost(value));
}

TEST(SharedAppend, adds_to_what_is_there) {
    const TemporaryDirectory folder;
    const std::string path = folder / "log";
    EXPECT_TRUE(appendShared(path.c_str(), "one\n"));
    EXPECT_TRUE(appendShared(path.c_str(), "two\n"));
#ifdef _WIN32
    EXPECT_EQ("one\r\ntwo\r\n", test::readFile(path));
#else
    EXPECT_EQ("one\ntwo\n", test::readFile(path));
#endif
    EXPECT_FALSE(appendShared((folder / "missing/log").c_str(), "three\n"));
}

TEST(Random, has_fifteen_bits_on_every_platform) {
    int highest = 0;
    for (int i = 0; i < 2000; ++i) {
        const int value = random15();
        ASSERT_GE(value, 0);
        ASSERT_LE(value, 32767);
        highest = std::max(highest, value);
    }
    EXPECT_GT(highest, 30000);
}

TEST(TruncateToInt, gives_what_the_processor_gives) {
    EXPECT_EQ(-2, truncateToInt(-2.9f));
    EXPECT_EQ(2147483647, truncateToInt(2147483647.5));
    EXPECT_EQ(INT_MIN, truncateToInt(-2147483648.9));
    for (const double wild : {2147483648.0, -2147483649.0, 1e300, -1e300, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(INT_MIN, truncateToInt(wild)) << wild;
}

}  // namespace
