#pragma once

#include <string>
#include <vector>

namespace qx::tool {

// From here on these files alone may be replaced whatever the user said: those that another process of this run has
// made before it died.
void takeForOwn(const std::vector<std::string>& files);

}  // namespace qx::tool
