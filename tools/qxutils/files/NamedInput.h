#pragma once

#include "files/TemporaryFolder.h"

#include <optional>
#include <string>

namespace qx::tool {

// A file that the library reads by its name; of a stream, which has none that it could read, a copy. Throws a ToolError
// when it cannot be read.
class NamedInput {
public:
    NamedInput(const std::string& file, const std::string& wanted);

    // As the user gave it.
    const std::string& file() const { return file_; }

    // For the library.
    const std::string& name() const { return name_; }

    bool isCopy() const { return folder_.has_value(); }

private:
    std::string file_;
    std::string name_;
    std::optional<TemporaryFolder> folder_;
};

}  // namespace qx::tool
