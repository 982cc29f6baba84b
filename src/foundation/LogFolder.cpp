#include "foundation/LogFolder.h"

#include "QxUtils/Foundation.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"

#include <QxSysMgt.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace qx {
namespace {

constexpr int kKeptDays = 30;

// Kept: months count 30 days and years 365, so the age of a file near a month's end differs from the calendar's.
int approximateDayNumber(int year, int month, int day) noexcept {
    return year * 365 + month * 30 + day - 30;
}

int number(std::string_view text, std::size_t position, std::size_t length) noexcept {
    char digits[8] = {};
    if (position < text.size())
        text.copy(digits, length, position);
    return std::atoi(digits);
}

// The day number that a log file's name carries; false for names of another shape. Kept: a '-' at two places makes the
// shape, whatever is between and behind them.
bool dayNumberOfName(std::string_view name, int& dayNumber) noexcept {
    if (name.size() < 8 || name[4] != '-' || name[7] != '-')
        return false;
    dayNumber = approximateDayNumber(number(name, 0, 4), number(name, 5, 2), number(name, 8, 2));
    return true;
}

}  // namespace

LogFolder::LogFolder() noexcept : LogFolder(getWorkDir()) {}

LogFolder::LogFolder(const char* workDirectory) noexcept
    : path_(workDirectory, workDirectory != nullptr ? "logs\\" : nullptr) {}

bool LogFolder::exists() const noexcept {
    return pathExists(path_.c_str());
}

}  // namespace qx

int removeLogFile() {
    using namespace qx;
    const LogFolder folder;
    if (!folder.exists())
        return 0;
    const LocalTime now = localTime();
    const int today = approximateDayNumber(now.year, now.month, now.day);
    DirectoryListing listing(folder.path());
    if (!listing.started())
        return 1;
    DirectoryEntry entry{};
    while (listing.next(entry)) {
        int fileDay = 0;
        if (!dayNumberOfName(entry.name, fileDay) || today - fileDay <= kKeptDays)
            continue;
        char path[1024];
        std::snprintf(path, sizeof path, "%s\\%s", folder.path(), entry.name);
        deleteFile(path);
    }
    return listing.succeeded() ? 0 : 1;
}
