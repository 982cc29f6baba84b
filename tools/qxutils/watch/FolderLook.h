#pragma once

#include "watch/FolderWatch.h"

namespace qx::tool {

// Looks twice a second. A file comes when it was the same twice, and not the same when it came before.
class FolderLook : public FolderWatch {
public:
    FolderLook(std::string folder, bool wantsExisting);

    std::vector<std::string> next(const StopRequest& stop) override;

private:
    std::vector<std::string> look();

    std::string folder_;
    std::map<std::string, FileState> seen_;
    std::map<std::string, FileState> told_;
};

}  // namespace qx::tool
