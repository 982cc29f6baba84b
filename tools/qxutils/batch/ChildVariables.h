#pragma once

#include <map>
#include <string>

namespace qx::tool {

// The variables that tell a process what it is to its parent: that it is a child, and how results look.
std::map<std::string, std::string> childVariables();

// In a child: takes the look of results over.
void lookAsParent();

}  // namespace qx::tool
