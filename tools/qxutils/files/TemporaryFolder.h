#pragma once

#include "files/TemporaryName.h"

#include <deque>
#include <optional>
#include <string>

namespace qx::tool {

// A folder of its own for what the library reads by name; it goes with the object, and when the process is interrupted.
// Throws a ToolError when none can be made.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    // The name of a file in it, which goes with the folder.
    std::string add(const std::string& name);

private:
    std::optional<TemporaryName> folder_;
    std::deque<TemporaryName> files_;  // gone before the folder
};

}  // namespace qx::tool
