#include "files/TemporaryFolder.h"

#include "common/ToolError.h"
#include "files/LibraryFile.h"
#include "files/NativeFile.h"
#include "files/WholeFile.h"
#include "text/FileName.h"

#include <filesystem>
#include <random>
#include <system_error>

namespace qx::tool {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    constexpr int kAttempts = 16;
    std::error_code error;
    const fs::path place = fs::temp_directory_path(error);
    std::random_device random;
    for (int attempt = 0; attempt < kAttempts && !error; ++attempt) {
        folder_ = place / ("qxutils-" + std::to_string(random()));
        requireLibraryName(toName(folder_));
        exemptFolder(folder_);
        if (fs::create_directory(folder_, error))
            return;
    }
    throw ToolError("no temporary folder can be made; check the folder for temporary files");
}

// Goes file by file: a search for them could want of memory.
TemporaryFolder::~TemporaryFolder() {
    for (const fs::path& file : files_)
        removeFile(file.c_str());
    std::error_code error;
    fs::remove(folder_, error);
}

std::string TemporaryFolder::add(const std::string& name) {
    files_.push_back(folder_ / name);
    return toName(files_.back());
}

}  // namespace qx::tool
