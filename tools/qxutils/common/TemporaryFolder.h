#pragma once

#include <string>

namespace qx::tool {

// A folder of its own for what the library reads by name; it goes with the object. Throws a ToolError when none can be
// made.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

}  // namespace qx::tool
