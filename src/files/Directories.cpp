#include "QxUtils/Files.h"

#include "QxUtils/StatusCode.h"
#include "files/DirectoryText.h"
#include "files/RawImageReader.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/JoinedPath.h"
#include "platform/FileSystem.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using qx::DirectoryListing;
using qx::DirectoryRecord;
using qx::JoinedPath;

constexpr int kNotListed = 1;

// Calls visit(listing, entry) for every entry, "." and ".." included; false when the directory cannot be listed.
template <class Visit>
bool visitEntries(const char* dir, Visit visit) {
    if (!JoinedPath(dir, "*").fits())
        return false;
    DirectoryListing listing(dir);
    for (qx::DirectoryEntry entry{}; listing.next(entry);)
        visit(listing, entry);
    return listing.succeeded();
}

// The same for regular files alone.
template <class Visit>
bool visitFiles(const char* dir, Visit visit) {
    return visitEntries(dir, [&](const DirectoryListing& listing, const qx::DirectoryEntry& entry) {
        if (qx::isRegularFile(JoinedPath(dir, entry.name).c_str()))
            visit(listing);
    });
}

struct Release {
    void operator()(DirectoryRecord* records) const noexcept { std::free(records); }
};

// Records in a block of the C heap, as callers get it.
class RecordList {
public:
    void add(const DirectoryRecord& record) noexcept {
        complete_ = complete_ && count_ < kMostRecords && reserve(count_ + 1);
        if (complete_)
            records_.get()[count_++] = record;
    }

    // Puts the records behind the `count` ones of a caller's list; false, and nothing happens, when memory is short.
    bool appendTo(DirectoryRecord*& list, int& count) noexcept {
        if (!complete_ || count_ > INT_MAX - count || !grow(list, count + count_))
            return false;
        if (count_ > 0)
            std::memcpy(list + count, records_.get(), count_ * sizeof *list);
        count += count_;
        return true;
    }

private:
    static constexpr int kMostRecords = INT_MAX / 2;

    static bool grow(DirectoryRecord*& list, int count) noexcept {
        if (count == 0)
            return true;
        void* const grown = std::realloc(list, count * sizeof *list);
        if (grown != nullptr)
            list = static_cast<DirectoryRecord*>(grown);
        return grown != nullptr;
    }

    bool reserve(int count) noexcept {
        if (count <= capacity_)
            return true;
        const int capacity = 2 * count;
        DirectoryRecord* records = records_.release();
        const bool done = grow(records, capacity);
        records_.reset(records);
        capacity_ = done ? capacity : capacity_;
        return done;
    }

    std::unique_ptr<DirectoryRecord, Release> records_;
    int count_ = 0;
    int capacity_ = 0;
    bool complete_ = true;
};

// Kept: differences of 32 bits wrap, so that halves that lie far apart come in the other order.
int compareCreationTimes(const void* first, const void* second) {
    const auto& a = static_cast<const DirectoryRecord*>(first)->ftCreationTime;
    const auto& b = static_cast<const DirectoryRecord*>(second)->ftCreationTime;
    const std::uint32_t difference =
        a.dwHighDateTime != b.dwHighDateTime ? a.dwHighDateTime - b.dwHighDateTime : a.dwLowDateTime - b.dwLowDateTime;
    return static_cast<int>(difference);
}

}  // namespace

int CheckDirPath(char*& path) {
    if (path == nullptr)
        return StatusNullArgument;
    if (qx::pathExists(path))
        return StatusOk;
    qx::reportMissingDirectory();
    return StatusWorkDirectoryUnusable;
}

double getDirectorySpace(const char* dir) {
    double bytes = 0.0;
    const auto addLength = [&](const DirectoryListing&, const qx::DirectoryEntry& entry) {
        const qx::File file = qx::openJoined(dir, entry.name, qx::OpenMode::ReadBinary, "Error opening file.\n");
        const std::int64_t length = file ? qx::fileLength(file.get()) : 0;
        bytes += length > 0 ? static_cast<double>(length) : 0.0;
    };
    // Kept: a directory that cannot be listed counts as one byte.
    return dir != nullptr && visitEntries(dir, addLength) ? bytes : 1.0;
}

int sortFileByCreateTime(const char* dir, _WIN32_FIND_DATAA*& list, int& count) {
    if (dir == nullptr)
        return StatusNullArgument;
    if (count < 0 || (list == nullptr && count > 0))
        return StatusWrongParameter;
    RecordList found;
    if (!visitFiles(dir, [&](const DirectoryListing& listing) { found.add(listing.record()); }))
        return kNotListed;
    if (!found.appendTo(list, count))
        return StatusAllocationFailed;
    if (count > 0)
        std::qsort(list, count, sizeof *list, compareCreationTimes);
    return StatusOk;
}

void releaseFileList(_WIN32_FIND_DATAA*& list) {
    std::free(list);
    list = nullptr;
}

int getFileNumInDirectory(const char* dir, int& count) {
    if (dir == nullptr)
        return StatusNullArgument;
    int found = 0;
    if (!visitFiles(dir, [&](const DirectoryListing&) { ++found; }))
        return kNotListed;
    // Kept: the count goes on from where the caller had it.
    count = qx::wrappedDifference(count, -found);
    return StatusOk;
}
