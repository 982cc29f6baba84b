#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qx::tool {

// A folder of its own for what the library reads by name; it goes with the object. Throws a ToolError when none can be
// made.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    // The name of a file in it, which goes with the folder.
    std::string add(const std::string& name);

private:
    std::filesystem::path folder_;
    std::vector<std::filesystem::path> files_;
};

}  // namespace qx::tool
