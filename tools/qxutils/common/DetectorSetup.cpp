#include "common/DetectorSetup.h"

#include "common/FileAccess.h"
#include "common/ToolError.h"

#include <VirtualDetector.h>

#include <fstream>

namespace qx::tool {

void loadDetectorFile(const std::string& file) {
    constexpr const char* kWanted = "a TOML file with settings of the virtual detector";
    fileBytes(file, kWanted);
    if (!std::ifstream(file))
        throw ToolError(file + ": cannot be opened; give " + kWanted);
    const std::string problem = qxkit::loadVirtualDetector(file);
    if (!problem.empty())
        throw ToolError(problem);
}

}  // namespace qx::tool
