#pragma once

#include <VirtualDetector.h>

#include <utility>

namespace qx::tool {

// Gives the virtual detector its present state again at the end.
class DetectorScope {
public:
    DetectorScope() = default;
    ~DetectorScope() { qxkit::virtualDetector() = std::move(before_); }
    DetectorScope(const DetectorScope&) = delete;
    DetectorScope& operator=(const DetectorScope&) = delete;

private:
    qxkit::VirtualDetector before_ = qxkit::virtualDetector();
};

}  // namespace qx::tool
