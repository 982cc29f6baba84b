#include "batch/OutputNames.h"

#include "common/ToolError.h"
#include "files/FileAccess.h"
#include "files/WholeFile.h"
#include "text/FileName.h"

#include <filesystem>
#include <map>
#include <system_error>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

// Those that were not there, by their files.
std::multimap<std::string, std::string> preparedOutputs;

bool endsAsFolder(const std::string& output) {
#if defined(_WIN32)
    return output.ends_with('/') || output.ends_with('\\');
#else
    return output.ends_with('/');
#endif
}

}  // namespace

bool isOutputFolder(const std::string& output) {
    std::error_code error;
    return endsAsFolder(output) || fs::is_directory(toPath(output), error);
}

std::string outputFor(const std::string& output, const std::string& file, const std::string& ending) {
    if (!isOutputFolder(output))
        return output;
    fs::path name = file == "-" ? fs::path("standard-input") : toPath(file).filename();
    if (!ending.empty())
        name.replace_extension(ending);
    return toName(toPath(output) / name);
}

void prepareOutputs(const std::string& output, const std::vector<std::string>& files, const std::string& ending) {
    if (files.size() > 1)
        requireName(output, "a folder for the results of several files");
    if (files.size() > 1 && !isOutputFolder(output)) {
        throw ToolError(output + ": one name for the results of " + std::to_string(files.size()) +
                            " files; give a folder, such as " + output + "/",
                        ExitCode::Usage);
    }
    if (!isOutputFolder(output))
        return;
    std::map<std::string, std::string> fileOf;
    for (const std::string& file : files) {
        const auto [place, isNew] = fileOf.emplace(outputFor(output, file, ending), file);
        if (!isNew) {
            throw ToolError(place->second + " and " + file + " would both be written to " + place->first +
                                "; give them in two calls",
                            ExitCode::Usage);
        }
        if (place->first != file)
            requireNotRead(place->first);
        if (std::error_code error; !fs::exists(toPath(place->first), error))
            preparedOutputs.emplace(file, place->first);
    }
    createFolder(output);
}

std::vector<std::string> newOutputs(const std::string& file) {
    std::vector<std::string> outputs;
    const auto [first, end] = preparedOutputs.equal_range(file);
    for (auto output = first; output != end; ++output)
        outputs.push_back(output->second);
    return outputs;
}

}  // namespace qx::tool
