#include "files/TemporaryFolder.h"

#include "common/ToolError.h"
#include "files/LibraryFile.h"
#include "files/WholeFile.h"
#include "text/FileName.h"

#include <filesystem>
#include <random>
#include <system_error>
#include <utility>

namespace qx::tool {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    constexpr int kAttempts = 16;
    std::error_code error;
    const fs::path place = fs::temp_directory_path(error);
    std::random_device random;
    for (int attempt = 0; attempt < kAttempts && !error; ++attempt) {
        fs::path folder = place / ("qxutils-" + std::to_string(random()));
        requireLibraryName(toName(folder));
        exemptFolder(folder);
        if (fs::create_directory(folder, error)) {
            folder_.emplace(std::move(folder));
            return;
        }
    }
    throw ToolError("no temporary folder can be made; check the folder for temporary files");
}

std::string TemporaryFolder::add(const std::string& name) {
    return toName(files_.emplace_back(folder_->path() / name).path());
}

}  // namespace qx::tool
