#pragma once

#include "common/Shape.h"

#include <VirtualDetector.h>

#include <filesystem>
#include <string>
#include <utility>

// The virtual detector that stands behind the library's calls, as commands and demos set it.

namespace qx::tool {

// A host's own kit may have taken the virtual detector's place. It answers the library, but cannot be set: what follows
// throws a ToolError then.
bool hasVirtualDetector();
qxkit::VirtualDetector& virtualDetector();

// qxkit::nativePath
std::filesystem::path nativePath(const std::string& kitPath);

// Sets it from a TOML file; throws a ToolError when the file cannot be read or says something wrong.
void loadDetectorFile(const std::string& file);

// Whether it was set from a stream, which nobody can read again.
bool isSetFromStream();

// Gives the images of the current mode this size.
void setModeSize(const Shape& shape);

// Gives the panel, and the images of the current mode, this size.
void setPanelSize(const Shape& shape);

// Lets it keep calibration files of every kind below this folder; the log stays where it is. Returns what is wrong with
// the folder, or an empty text.
std::string setCalibrationFolder(const std::filesystem::path& folder);

// Gives the virtual detector its present state again at the end.
class DetectorScope {
public:
    DetectorScope() = default;
    ~DetectorScope() { virtualDetector() = std::move(before_); }
    DetectorScope(const DetectorScope&) = delete;
    DetectorScope& operator=(const DetectorScope&) = delete;

private:
    qxkit::VirtualDetector before_ = virtualDetector();
};

}  // namespace qx::tool
