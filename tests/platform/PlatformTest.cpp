#include "Builders.h"

#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/JoinedPath.h"
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

#ifndef _WIN32
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

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
TEST(DirectoryListing, tells_creation_from_modification_keeps_dangling_links_and_passes_over_what_no_path_names) {
    const TemporaryDirectory folder;
    test::writeFile(folder / "file", "1");
    std::filesystem::last_write_time(folder / "file",
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(1000));
    std::filesystem::create_symlink("nowhere", folder / "link");
    std::filesystem::create_symlink("file", folder / "to-file");
    test::writeFile(folder / "with\\separator", "1");
    std::map<std::string, DirectoryEntry> found;
    DirectoryListing listing(folder.path().c_str());
    EXPECT_STREQ("", listing.record().cFileName);
    for (DirectoryEntry entry{}; listing.next(entry);)
        found[entry.name] = entry;
    EXPECT_EQ(1u, found.count("link"));
    EXPECT_EQ(5u, found.size());
    EXPECT_EQ(1, found["to-file"].size);
    struct statx status {};
    ASSERT_EQ(0, statx(AT_FDCWD, (folder / "file").c_str(), 0, STATX_BTIME | STATX_MTIME, &status));
    const bool hasCreation = (status.stx_mask & STATX_BTIME) != 0;
    const auto ticks = [](const auto& t) { return (t.tv_sec + 11'644'473'600u) * 10'000'000u + t.tv_nsec / 100; };
    EXPECT_EQ(ticks(status.stx_mtime), found["file"].modificationTime);
    EXPECT_EQ(ticks(hasCreation ? status.stx_btime : status.stx_mtime), found["file"].creationTime);
}

// Read-only is what nobody may write to; nothing else counts.
TEST(DirectoryListing, attributes_follow_the_permissions) {
    const TemporaryDirectory folder;
    const std::map<std::string, std::pair<unsigned, std::uint32_t>> expected = {
        {"none", {0, 0x01}},     {"readable", {0555, 0x01}}, {"owner's", {0200, 0x80}}, {"group's", {020, 0x80}},
        {"others'", {02, 0x80}}, {"folder", {0755, 0x10}},   {"closed", {0555, 0x11}}};
    for (const auto& [name, entry] : expected) {
        (entry.second & 0x10) != 0 ? void(createDirectory((folder / name).c_str()))
                                   : test::writeFile(folder / name, "");
        std::filesystem::permissions(folder / name, std::filesystem::perms{entry.first});
    }
    std::size_t count = 0;
    DirectoryListing listing(folder.path().c_str());
    for (DirectoryEntry entry{}; listing.next(entry);) {
        const auto found = expected.find(entry.name);
        if (found == expected.end())
            continue;
        EXPECT_EQ(found->second.second, listing.record().dwFileAttributes) << entry.name;
        ++count;
    }
    EXPECT_EQ(expected.size(), count);
}
#endif

#ifndef _WIN32
// A process without standard input gets descriptor 0.
TEST(NewFiles, take_any_descriptor_and_what_permissions_the_mask_leaves) {
    const TemporaryDirectory folder;
    const int input = dup(0);
    const mode_t mask = umask(0);
    close(0);
    const bool isAppended = appendShared((folder / "log").c_str(), "x");
    const bool isOpened = openFile((folder / "file").c_str(), OpenMode::WriteBinary) != nullptr;
    createDirectory((folder / "folder").c_str());
    umask(mask);
    dup2(input, 0);
    close(input);
    EXPECT_TRUE(isAppended && isOpened);
    EXPECT_TRUE(appendShared((folder / "log").c_str(), "x"));
    EXPECT_TRUE(openFile((folder / "file").c_str(), OpenMode::ReadBinary) != nullptr);
    const int next = dup(0);
    EXPECT_EQ(input, next) << "a descriptor is left open";
    close(next);
    for (const auto& [name, permissions] : {std::pair{"log", 0666u}, {"file", 0666u}, {"folder", 0777u}})
        EXPECT_EQ(std::filesystem::perms{permissions}, std::filesystem::status(folder / name).permissions()) << name;
}

TEST(SharedAppend, text_that_is_cut_off_is_not_appended) {
    const TemporaryDirectory folder;
    rlimit before{};
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
    const rlimit fourBytes{4, before.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &fourBytes);
    const bool isAppended = appendShared((folder / "log").c_str(), "12345");
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, SIG_DFL);
    EXPECT_FALSE(isAppended);
}

TEST(FileLength, pipe_has_none) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const File end(fdopen(ends[0], "rb"));
    EXPECT_EQ(-1, fileLength(end.get()));
    close(ends[1]);
}
#endif

TEST(SharedAppend, adds_to_what_is_there) {
    const TemporaryDirectory folder;
    const std::string path = folder / "log";
    EXPECT_TRUE(appendShared(path.c_str(), "one\n"));
    EXPECT_TRUE(appendShared(path.c_str(), "two\n"));
    EXPECT_TRUE(appendShared(path.c_str(), ""));
#ifdef _WIN32
    EXPECT_EQ("one\r\ntwo\r\n", test::readFile(path));
#else
    EXPECT_EQ("one\ntwo\n", test::readFile(path));
#endif
    EXPECT_FALSE(appendShared((folder / "missing/log").c_str(), "three\n"));
}

TEST(JoinedPath, missing_parts_are_empty_and_one_character_is_a_part) {
    EXPECT_STREQ("dn", JoinedPath("d", "n").c_str());
    EXPECT_STREQ("n", JoinedPath(nullptr, "n").c_str());
    EXPECT_STREQ("d", JoinedPath("d", nullptr).c_str());
}

TEST(ImageView, contains_what_crosses_no_side) {
    const ImageView<const char> image{nullptr, 8, 6};
    for (const Rect& inside : {Rect{0, 0, 6, 8}, {5, 7, 1, 1}, {2, 3, 4, 5}})
        EXPECT_TRUE(image.contains(inside)) << inside.top;
    for (const Rect& across : {Rect{-1, 0, 1, 1}, {0, -1, 1, 1}, {2, 3, 5, 5}, {2, 3, 4, 6}})
        EXPECT_FALSE(image.contains(across)) << across.top << ' ' << across.height;
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
