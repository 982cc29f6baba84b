#pragma once

// The virtual detector that the library asks for its limits and its AFE width.

#include <VirtualDetector.h>

namespace qx::bench {

// What is set on the virtual detector while the object exists does not outlast it.
class HeldDetector {
public:
    HeldDetector() : saved_(qxkit::virtualDetector()) {}
    ~HeldDetector() { qxkit::virtualDetector() = saved_; }
    HeldDetector(const HeldDetector&) = delete;
    HeldDetector& operator=(const HeldDetector&) = delete;

private:
    qxkit::VirtualDetector saved_;
};

}  // namespace qx::bench
