#include "files/FileAccess.h"

#include "common/ToolError.h"
#include "files/WholeFile.h"
#include "text/FileName.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

// A name, and what it comes to when links and folders are resolved.
struct Place {
    const std::string& name;
    fs::path path;
    fs::path resolved;
    bool isThere;
};

Place placeOf(const std::string& name) {
    std::error_code error;
    const fs::path path = toPath(name == "-" ? "/dev/stdin" : name);
    const fs::path canonical = fs::weakly_canonical(path, error);
    return {name, path, fs::absolute(error ? path : canonical, error).lexically_normal(), fs::exists(path, error)};
}

std::vector<Place> placesOf(const std::vector<std::string>& names) {
    std::vector<Place> places;
    std::ranges::transform(names, std::back_inserter(places), placeOf);
    return places;
}

// Not every platform can tell whether two existing names are one file, and none can when the output does not exist.
bool isSameFile(const Place& first, const Place& second) {
    std::error_code error;
    return first.resolved.native() == second.resolved.native() ||
           (first.isThere && second.isThere && fs::equivalent(first.path, second.path, error));
}

// Refuses what is not there, as a kind of thing that is missing.
fs::file_type typeOf(const std::string& path, const std::string& wanted, const char* kind) {
    requireName(path, wanted);
    std::error_code error;
    const fs::file_status status = fs::status(toPath(path), error);
    if (!fs::exists(status))
        throw ToolError(path + ": no such " + kind + "; check the name");
    return status.type();
}

}  // namespace

void requireName(const std::string& path, const std::string& wanted) {
    if (path.empty())
        throw ToolError("a file or folder name is empty; give " + wanted, ExitCode::Usage);
}

std::int64_t fileBytes(const std::string& path, const std::string& wanted, const char* insteadOfPipe) {
    const fs::file_type type = typeOf(path, wanted, "file");
    if (type == fs::file_type::directory)
        throw ToolError(path + ": is a directory; give " + wanted);
    if (type == fs::file_type::fifo)
        throw ToolError(path + ": is a pipe; give " + insteadOfPipe);
    if (type != fs::file_type::regular)
        throw ToolError(path + ": is no regular file; give " + wanted);
    std::error_code error;
    const std::uintmax_t bytes = fs::file_size(toPath(path), error);
    if (error)
        throw ToolError(path + ": cannot tell its size (" + error.message() + "); give " + wanted);
    return static_cast<std::int64_t>(bytes);
}

void requireFolder(const std::string& path, const std::string& wanted) {
    if (typeOf(path, wanted, "folder") != fs::file_type::directory)
        throw ToolError(path + ": is no folder; give " + wanted);
}

void requireDistinct(const std::vector<std::string>& outputs, const std::vector<std::string>& inputs) {
    const std::vector<Place> sources = placesOf(inputs);
    const std::vector<Place> targets = placesOf(outputs);
    for (auto target = targets.begin(); target != targets.end(); ++target) {
        const auto isTarget = [target](const Place& place) { return isSameFile(*target, place); };
        if (std::ranges::any_of(sources, isTarget)) {
            throw ToolError(target->name + ": would overwrite the file it is made from; give another name",
                            ExitCode::Usage);
        }
        if (std::any_of(targets.begin(), target, isTarget))
            throw ToolError(target->name + ": would be written twice; give another name", ExitCode::Usage);
        requireReplaceable(target->name);
    }
}

void requireOtherFile(const std::string& output, const std::string& input) {
    requireDistinct({output}, {input});
}

void createFolder(const std::string& path) {
    std::error_code error;
    const fs::path folder = toPath(path);
    if (writePolicy().dryRun && !fs::exists(folder, error)) {
        announceFolder(path);
        return;
    }
    fs::create_directories(folder, error);
    if (!fs::is_directory(folder, error))
        throw ToolError(path + ": cannot be created as a folder; give another one");
}

void writeFile(const std::string& path, std::string_view content) {
    WholeFile file(path);
    file.write(content);
    file.commit();
}

}  // namespace qx::tool
