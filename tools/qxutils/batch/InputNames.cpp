#include "batch/InputNames.h"

#include "common/ToolError.h"
#include "files/InputFile.h"
#include "text/FileName.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <sstream>
#include <system_error>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

std::vector<fs::directory_entry> entriesOf(const std::string& folder) {
    std::error_code error;
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator entry(toPath(folder), error), end; !error && entry != end; entry.increment(error))
        entries.push_back(*entry);
    if (error)
        throw ToolError(folder + ": cannot be listed (" + error.message() + "); check that you may read it");
    return entries;
}

// A folder below that cannot be listed is a problem and no end.
void addFiles(NamedFiles& named, const std::string& folder, bool recursive, const std::vector<std::string>& endings) {
    for (const fs::directory_entry& entry : entriesOf(folder)) {
        const std::string path = toName(entry.path());
        const auto endsThePath = [&path](const std::string& ending) { return hasEnding(path, ending); };
        std::error_code unknown;
        if (!entry.is_directory(unknown)) {
            if (std::ranges::any_of(endings, endsThePath))
                named.files.push_back(path);
        } else if (recursive && !entry.is_symlink(unknown)) {
            try {
                addFiles(named, path, recursive, endings);
            } catch (const ToolError& error) {
                named.problems.emplace_back(error.what());
            }
        }
    }
}

NamedFiles filesBelow(const std::string& folder, bool recursive, const std::vector<std::string>& endings) {
    NamedFiles named;
    addFiles(named, folder, recursive, endings);
    if (named.files.empty() && named.problems.empty()) {
        throw ToolError(folder + ": no file in it ends in " + endings.front() +
                        (recursive ? "" : "; --recursive looks into the folders below it") + "; give files by name");
    }
    std::ranges::sort(named.files);
    return named;
}

std::vector<std::string> listedFiles(const std::string& name) {
    constexpr std::int64_t kMaxListBytes = std::int64_t{1} << 26;
    const std::string text = readText(name, "a text file with one name a line", kMaxListBytes);
    if (text.find('\0') != std::string::npos)
        throw ToolError(name + ": holds zero bytes, which no name has; save it as text in UTF-8");
    std::istringstream list(text);
    list.exceptions(std::ios::badbit);
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

NamedFiles filesNamedBy(const std::string& argument, bool recursive, const std::vector<std::string>& endings) {
    std::error_code error;
    if (argument.starts_with('@'))
        return {listedFiles(argument.substr(1)), {}};
    if (fs::is_directory(toPath(argument), error))
        return filesBelow(argument, recursive, endings);
    return {{argument}, {}};
}

}  // namespace

NamedFiles filesNamedBy(const std::vector<std::string>& arguments, bool recursive,
                        const std::vector<std::string>& endings) {
    NamedFiles named;
    for (const std::string& argument : arguments) {
        try {
            const NamedFiles more = filesNamedBy(argument, recursive, endings);
            named.files.insert(named.files.end(), more.files.begin(), more.files.end());
            named.problems.insert(named.problems.end(), more.problems.begin(), more.problems.end());
        } catch (const ToolError& error) {
            named.problems.emplace_back(error.what());
        }
    }
    return named;
}

}  // namespace qx::tool
