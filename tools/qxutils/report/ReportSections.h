#pragma once

#include "report/Report.h"

#include <cstddef>
#include <string>

// The sections of the page that stand in it as they are; each is empty when there is nothing to tell.

namespace qx::tool {

// "1 image", "2 images".
std::string counted(std::size_t count, const std::string& noun);

std::string reportSummary(const Report& report);
std::string reportFacts(const Report& report);
std::string reportContents(const Report& report);
std::string verdictSection(const Report& report);
std::string seriesSection(const Report& report);
std::string trendSection(const Report& report);
std::string imageSection(const Report& report);
std::string logSection(const Report& report);

}  // namespace qx::tool
