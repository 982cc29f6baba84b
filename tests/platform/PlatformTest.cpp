#include "Builders.h"

#include "foundation/CheckedNumbers.h"
#include "platform/DirectoryRecord.h"
#include "platform/FileSystem.h"
#include "platform/NativePath.h"
#include "platform/SharedAppend.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
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

TEST(DirectoryListing, entries_and_records_hold_names_kinds_sizes_and_times) {
    constexpr std::uint32_t kReadOnly = 0x01, kDirectory = 0x10;
    constexpr std::uint64_t kYear2020 = 132'223'104'000'000'000;
    const auto ticks = [](const auto& time) { return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime; };
    const TemporaryDirectory folder;
    EXPECT_TRUE(createDirectory((folder / "nested").c_str()));
    EXPECT_FALSE(createDirectory((folder / "missing/deeper").c_str()));
    test::writeFile(folder / "file", "12345");
    std::filesystem::last_write_time(folder / "file",
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(1000));
    std::filesystem::permissions(folder / "file", std::filesystem::perms::owner_read);
    std::map<std::string, std::pair<DirectoryEntry, DirectoryRecord>> found;
    DirectoryListing listing(folder.path().c_str());
    ASSERT_TRUE(listing.started());
    for (DirectoryEntry entry{}; listing.next(entry);) {
        const DirectoryRecord record = listing.record();
        found[entry.name] = {entry, record};
        EXPECT_STREQ(entry.name, record.cFileName);
        EXPECT_EQ(entry.creationTime, ticks(record.ftCreationTime)) << entry.name;
        EXPECT_EQ(entry.modificationTime, ticks(record.ftLastWriteTime)) << entry.name;
    }
    std::filesystem::permissions(folder / "file", std::filesystem::perms::owner_all);
    const auto& [file, record] = found["file"];
    EXPECT_EQ(5, file.size);
    EXPECT_FALSE(file.isDirectory);
    EXPECT_GT(file.creationTime, kYear2020);
    EXPECT_EQ(kReadOnly, record.dwFileAttributes & (kReadOnly | kDirectory));
    EXPECT_EQ(5u, record.nFileSizeLow);
    EXPECT_EQ(0u, record.nFileSizeHigh);
    EXPECT_GT(ticks(record.ftLastAccessTime), ticks(record.ftLastWriteTime));
    EXPECT_TRUE(found["nested"].first.isDirectory);
    EXPECT_EQ(kDirectory, found["nested"].second.dwFileAttributes & (kReadOnly | kDirectory));
    EXPECT_FALSE(DirectoryListing((folder / "missing/").c_str()).started());
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

TEST(TruncateToInt, gives_what_the_processor_gives) {
    EXPECT_EQ(-2, truncateToInt(-2.9f));
    EXPECT_EQ(2147483647, truncateToInt(2147483647.5));
    EXPECT_EQ(INT_MIN, truncateToInt(-2147483648.9));
    for (const double wild : {2147483648.0, -2147483649.0, 1e300, -1e300, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(INT_MIN, truncateToInt(wild)) << wild;
}

}  // namespace
