#include "files/LibraryFile.h"

#include "common/ToolError.h"
#include "files/NativeFile.h"

#include <QxUtils/StatusCode.h>

#include <algorithm>
#include <cstddef>

namespace qx::tool {
namespace {

constexpr std::size_t kMaxLibraryPath = 255;

}  // namespace

void requireLibraryName(const std::string& path) {
    const auto isPlain = [](char character) { return static_cast<unsigned char>(character) < 0x80; };
    if (!takesNamesInAnyScript() && !std::ranges::all_of(path, isPlain))
        throw ToolError(path + ": this Windows lets the library name files in plain letters only; rename it");
}

LibraryPath toLibraryPath(const std::string& path) {
    requireLibraryName(path);
    if (path.size() > kMaxLibraryPath - 2) {
        throw ToolError(path + ": the path is longer than " + std::to_string(kMaxLibraryPath - 2) +
                        " characters; run qxutils closer to the file");
    }
    const std::size_t slash = path.find_last_of("/\\");
    if (slash == std::string::npos)
        return {"./", path};
    return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

std::string statusText(int status) {
    const char* message = getStatusMessage(status);
    return "status " + std::to_string(status) + ": " + (message == nullptr ? "never assigned" : message);
}

}  // namespace qx::tool
