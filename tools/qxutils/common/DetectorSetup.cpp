#include "common/DetectorSetup.h"

#include "common/FileAccess.h"
#include "common/FileName.h"
#include "common/InputFile.h"
#include "common/ToolError.h"
#include "common/WholeFile.h"

#if !defined(_WIN32)
#include <dlfcn.h>
#endif

namespace qx::tool {
namespace {

void needVirtualDetector() {
    if (!hasVirtualDetector())
        throw ToolError("the kit in use is not the virtual detector, which this needs to set; take that kit out of the "
                        "library path");
}

}  // namespace

// The program binds functions when it calls them first, so that it starts beside a kit that lacks this one. A Windows
// program does not start there.
bool hasVirtualDetector() {
#if defined(_WIN32)
    return true;
#else
    static const bool has = dlsym(RTLD_DEFAULT, "_ZN5qxkit15virtualDetectorEv") != nullptr;
    return has;
#endif
}

qxkit::VirtualDetector& virtualDetector() {
    needVirtualDetector();
    return qxkit::virtualDetector();
}

std::filesystem::path nativePath(const std::string& kitPath) {
    needVirtualDetector();
    return qxkit::nativePath(kitPath);
}

void loadDetectorFile(const std::string& file) {
    constexpr const char* kWanted = "a TOML file with settings of the virtual detector";
    fileBytes(file, kWanted);
    readSettings(file, kWanted);
    needVirtualDetector();
    const std::string problem = qxkit::loadVirtualDetector(toPath(file));
    if (!problem.empty())
        throw ToolError(problem);
    if (writePolicy().dryRun)
        virtualDetector().config.loggingEnabled = 0;
}

void setModeSize(const Shape& shape) {
    virtualDetector().modeWidth = shape.width;
    virtualDetector().modeHeight = shape.height;
}

void setPanelSize(const Shape& shape) {
    virtualDetector().width = shape.width;
    virtualDetector().height = shape.height;
    setModeSize(shape);
}

std::string setCalibrationFolder(const std::filesystem::path& folder) {
    std::string& workDirectory = virtualDetector().workDirectory;
    const std::string before = workDirectory;
    std::string problem = qxkit::setDirectories(folder);
    workDirectory = before;
    return problem;
}

}  // namespace qx::tool
