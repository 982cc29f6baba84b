#include "common/DetectorSetup.h"

#include "common/FileAccess.h"
#include "common/ToolError.h"

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

void setModeSize(const Shape& shape) {
    qxkit::virtualDetector().modeWidth = shape.width;
    qxkit::virtualDetector().modeHeight = shape.height;
}

void setPanelSize(const Shape& shape) {
    qxkit::virtualDetector().width = shape.width;
    qxkit::virtualDetector().height = shape.height;
    setModeSize(shape);
}

std::string setCalibrationFolder(const std::filesystem::path& folder) {
    std::string& workDirectory = qxkit::virtualDetector().workDirectory;
    const std::string before = workDirectory;
    std::string problem = qxkit::setDirectories(folder);
    workDirectory = before;
    return problem;
}

}  // namespace qx::tool
