#pragma once

#include "report/Report.h"

#include <string>

// The sections of the page that stand in it as they are; each is empty when there is nothing to tell.

namespace qx::tool {

std::string reportSummary(const Report& report);
std::string reportFacts(const Report& report);
std::string reportContents(const Report& report);
std::string verdictSection(const Report& report);
std::string seriesSection(const Report& report);
std::string trendSection(const Report& report);
std::string imageSection(const Report& report);
std::string logSection(const Report& report);

}  // namespace qx::tool
