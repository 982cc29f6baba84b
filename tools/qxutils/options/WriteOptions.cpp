#include "options/WriteOptions.h"

#include "common/ToolError.h"
#include "files/WholeFile.h"
#include "text/FileName.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <system_error>

namespace qx::tool {

void addWriteOptions(CLI::App& app) {
    app.add_flag_callback(
        "--dry-run",
        [] {
            setWritePolicy({true, writePolicy().noClobber});
        },
        "Read and judge, but write no file; standard error tells which would be written or replaced. Not for what "
        "the library writes: demo, factory-snr, ndt");
    app.add_flag_callback(
        "--no-clobber",
        [] {
            setWritePolicy({writePolicy().dryRun, true});
        },
        "Replace no file; demo and ndt calibrate want a new or empty folder then");
}

void refuseDryRun(const std::string& command) {
    if (writePolicy().dryRun)
        throw ToolError("--dry-run: " + command + " writes its files as it goes; leave it out", ExitCode::Usage);
}

void requireFreshFolder(const std::string& folder) {
    std::error_code error;
    const std::filesystem::path path = toPath(folder);
    if (writePolicy().noClobber && std::filesystem::is_directory(path, error) &&
        !std::filesystem::is_empty(path, error))
        throw ToolError(folder + ": holds files already; give another folder, or leave out --no-clobber");
}

}  // namespace qx::tool
