#include "detector/DetectorSetup.h"

#include "common/ToolError.h"
#include "files/FileAccess.h"
#include "files/InputFile.h"
#include "files/NativeFile.h"
#include "files/WholeFile.h"
#include "text/FileName.h"

#if !defined(_WIN32)
// These alone are bound to the virtual detector, and weakly, so that the program starts beside a kit that lacks them.
// A Windows program does not start there.
namespace qxkit {
[[gnu::weak]] VirtualDetector& virtualDetector();
[[gnu::weak]] std::string setDirectories(const std::filesystem::path& root);
[[gnu::weak]] std::filesystem::path nativePath(const std::string& kitPath);
[[gnu::weak]] std::string loadVirtualDetector(const std::filesystem::path& file);
}  // namespace qxkit
#endif

namespace qx::tool {
namespace {

bool wasStream = false;

void needVirtualDetector() {
    if (!hasVirtualDetector())
        throw ToolError("the kit in use is not the virtual detector, which this needs to set; take that kit out of the "
                        "library path");
}

}  // namespace

bool hasVirtualDetector() {
#if defined(_WIN32)
    return true;
#else
    return &qxkit::virtualDetector != nullptr;
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
    wasStream = wasStream || streamOfInput(file);
    needVirtualDetector();
    const std::string problem = qxkit::loadVirtualDetector(toPath(file));
    if (!problem.empty())
        throw ToolError(problem);
    if (writePolicy().dryRun)
        virtualDetector().config.loggingEnabled = 0;
}

bool isSetFromStream() {
    return wasStream;
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
