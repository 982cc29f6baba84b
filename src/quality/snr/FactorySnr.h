#pragma once

#include "QxUtils/Records.h"

#include <QxSysMgt.h>

#include <string>

namespace qx {

// A directory that ends with a separator.
std::string withSeparator(std::string path);

// getDetectorInformation; logs a failure.
int askDetector(DetectorInformation& detector) noexcept;

// Measures one factory image: a raw 16-bit image of the detector's size behind its header. Returns 0; 1040 for a file
// of another size, 1020 for a header of another size, 1035 when memory is short, or what the file or the detector
// answers with. Logs its course; prints the series.
int retrieveSNRFromImage(int detectorType, const char* directory, const char* file, FactorySNRRecord& record);

}  // namespace qx
