#include "batch/InputNames.h"

#include "common/FileAccess.h"
#include "common/FileName.h"
#include "common/ToolError.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <system_error>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

template <class Iterator>
void addFiles(std::vector<std::string>& files, const std::string& folder, const std::vector<std::string>& endings) {
    std::error_code error;
    for (Iterator entry(toPath(folder), error); !error && entry != Iterator(); entry.increment(error)) {
        const std::string path = toName(entry->path());
        const bool isWanted =
            std::ranges::any_of(endings, [&path](const std::string& ending) { return path.ends_with(ending); });
        std::error_code unknown;
        if (isWanted && !entry->is_directory(unknown))
            files.push_back(path);
    }
    if (error)
        throw ToolError(folder + ": cannot be listed (" + error.message() + "); check that you may read it");
}

std::vector<std::string> filesBelow(const std::string& folder, bool recursive,
                                    const std::vector<std::string>& endings) {
    std::vector<std::string> files;
    if (recursive)
        addFiles<fs::recursive_directory_iterator>(files, folder, endings);
    else
        addFiles<fs::directory_iterator>(files, folder, endings);
    if (files.empty()) {
        throw ToolError(folder + ": no file in it ends in " + endings.front() +
                        (recursive ? "" : "; --recursive looks into the folders below it") + "; give files by name");
    }
    std::ranges::sort(files);
    return files;
}

std::vector<std::string> linesOf(std::istream& list, const std::string& name) {
    std::vector<std::string> lines;
    for (std::string line; std::getline(list, line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        if (!line.empty())
            lines.push_back(line);
    }
    if (lines.empty())
        throw ToolError(name + ": names no file; give one a line");
    return lines;
}

std::vector<std::string> listedFiles(const std::string& name) {
    if (name == "-")
        return linesOf(std::cin, "standard input");
    constexpr const char* kWanted = "a text file with one name a line";
    requireName(name, kWanted);
    std::error_code error;
    std::ifstream list(toPath(name));
    if (!list || fs::is_directory(toPath(name), error))
        throw ToolError(name + ": cannot be read; give " + kWanted);
    return linesOf(list, name);
}

std::vector<std::string> filesNamedBy(const std::string& argument, bool recursive,
                                      const std::vector<std::string>& endings) {
    std::error_code error;
    if (argument.starts_with('@'))
        return listedFiles(argument.substr(1));
    if (fs::is_directory(toPath(argument), error))
        return filesBelow(argument, recursive, endings);
    return {argument};
}

}  // namespace

NamedFiles filesNamedBy(const std::vector<std::string>& arguments, bool recursive,
                        const std::vector<std::string>& endings) {
    NamedFiles named;
    for (const std::string& argument : arguments) {
        try {
            const std::vector<std::string> files = filesNamedBy(argument, recursive, endings);
            named.files.insert(named.files.end(), files.begin(), files.end());
        } catch (const ToolError& error) {
            named.problems.emplace_back(error.what());
        }
    }
    return named;
}

}  // namespace qx::tool
