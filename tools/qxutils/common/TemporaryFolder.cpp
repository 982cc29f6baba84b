#include "common/TemporaryFolder.h"

#include "common/FileName.h"
#include "common/LibraryFile.h"
#include "common/ToolError.h"
#include "common/WholeFile.h"

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
        const fs::path folder = place / ("qxutils-" + std::to_string(random()));
        if (fs::create_directory(folder, error)) {
            path_ = toName(folder);
            requireLibraryName(path_);
            exemptFolder(folder);
            return;
        }
    }
    throw ToolError("no temporary folder can be made; check the folder for temporary files");
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    fs::remove_all(toPath(path_), error);
}

}  // namespace qx::tool
