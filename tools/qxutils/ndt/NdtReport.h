#pragma once

#include "image/Image.h"
#include "results/Record.h"

#include <filesystem>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

// What the user reads about images of non-destructive testing and about the files that correct them.

namespace qx::tool {

// Mean, standard deviation, least and largest value of each image, in counts, and a table of them as the text.
Record statisticsOf(const std::vector<std::pair<std::string, const LongImage*>>& images);

// A table of the files in the offset, gain and defect folders of a calibration folder.
void printCalibrationFiles(std::ostream& out, const std::filesystem::path& folder);

}  // namespace qx::tool
