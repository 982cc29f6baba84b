#include "common/FileAccess.h"

#include "common/FileName.h"
#include "common/ToolError.h"
#include "common/WholeFile.h"

#include <filesystem>
#include <system_error>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

// Not every platform can tell whether two existing names are one file, and none can when the output does not exist.
bool isSameFile(const std::string& first, const std::string& second) {
    std::error_code error;
    if (fs::equivalent(toPath(first), toPath(second), error))
        return true;
    const auto plainName = [](const std::string& path) {
        std::error_code unknown;
        const fs::path canonical = fs::weakly_canonical(toPath(path), unknown);
        return fs::absolute(unknown ? toPath(path) : canonical, unknown).lexically_normal();
    };
    return plainName(first) == plainName(second);
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

std::int64_t fileBytes(const std::string& path, const std::string& wanted) {
    const fs::file_type type = typeOf(path, wanted, "file");
    if (type == fs::file_type::directory)
        throw ToolError(path + ": is a directory; give " + wanted);
    if (type == fs::file_type::fifo)
        throw ToolError(path + ": is a pipe; give a file, or - to read standard input");
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
    for (auto output = outputs.begin(); output != outputs.end(); ++output) {
        for (const std::string& input : inputs)
            requireOtherFile(*output, input);
        for (auto other = outputs.begin(); other != output; ++other) {
            if (isSameFile(*output, *other))
                throw ToolError(*output + ": would be written twice; give another name", ExitCode::Usage);
        }
    }
}

void requireOtherFile(const std::string& output, const std::string& input) {
    if (isSameFile(output, input == "-" ? "/dev/stdin" : input))
        throw ToolError(output + ": would overwrite the file it is made from; give another name", ExitCode::Usage);
    requireReplaceable(output);
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
        throw ToolError(path + ": cannot be created as a folder; give another --out");
}

void writeFile(const std::string& path, std::string_view content) {
    WholeFile file(path);
    file.write(content);
    file.commit();
}

}  // namespace qx::tool
