#include "platform/Replacement.h"

#ifndef _WIN32

#include "platform/NativePath.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace qx {
namespace {

bool isWritable(const char* path) noexcept {
    const int descriptor = open(path, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    return descriptor >= 0 && close(descriptor) == 0;
}

constexpr const char* kAccessList = "system.posix_acl_access";

// Whether another file can stand for it: no name and no right gets lost.
bool isReplaceable(const char* path, const struct stat& status) noexcept {
    return S_ISREG(status.st_mode) && status.st_nlink == 1 && getxattr(path, kAccessList, nullptr, 0) <= 0 &&
           isWritable(path);
}

// The directory may have given the new file an access list that the replaced one is without.
bool giveRightsOf(const struct stat& replaced, int descriptor) noexcept {
    constexpr mode_t kPermissions = 07777;
    struct stat status {};
    if (fstat(descriptor, &status) != 0)
        return false;
    const bool isOwned = status.st_uid == replaced.st_uid && status.st_gid == replaced.st_gid;
    return fgetxattr(descriptor, kAccessList, nullptr, 0) <= 0 &&
           (isOwned || fchown(descriptor, replaced.st_uid, replaced.st_gid) == 0) &&
           fchmod(descriptor, replaced.st_mode & kPermissions) == 0;
}

}  // namespace

Replacement::Replacement(const char* path) noexcept {
    const NativePath native(path);
    struct stat replaced {};
    const bool exists = lstat(native.c_str(), &replaced) == 0;
    if (!exists && errno != ENOENT)
        return;
    std::array<char, PATH_MAX> resolved;
    const bool isLink = exists && S_ISLNK(replaced.st_mode);
    if (isLink && (realpath(native.c_str(), resolved.data()) == nullptr || stat(resolved.data(), &replaced) != 0))
        return;
    if (!setTarget(isLink ? resolved.data() : native.c_str()) || (exists && !isReplaceable(target_.data(), replaced)))
        return;
    const int descriptor = createBeside(exists ? 0600 : 0666);
    if (descriptor < 0)
        return;
    file_.reset(!exists || giveRightsOf(replaced, descriptor) ? fdopen(descriptor, "wb") : nullptr);
    if (file_)
        std::setvbuf(file_.get(), nullptr, _IONBF, 0);
    else
        ::close(descriptor);
}

int Replacement::createBeside(int permissions) noexcept {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    constexpr int kMostNames = 100;
    Path name{};
    for (int names = 0; names < kMostNames && nameBeside(static_cast<std::uint32_t>(getpid()), name); ++names) {
        const int descriptor = open(name.data(), kFlags, permissions);
        if (descriptor >= 0) {
            beside_ = name;
            return descriptor;
        }
        if (errno != EEXIST)
            break;
    }
    return -1;
}

bool Replacement::takePlace() noexcept {
    if (std::rename(beside_.data(), target_.data()) != 0)
        return false;
    beside_.fill('\0');
    return true;
}

}  // namespace qx

#endif
