#pragma once

#include "completion/CommandTree.h"

#include <iosfwd>

// Scripts by which a shell completes commands, options, their choices and, for everything else, file names.

namespace qx::tool {

void writeBashScript(std::ostream& out, const DescribedCommand& program);
void writeZshScript(std::ostream& out, const DescribedCommand& program);
void writeFishScript(std::ostream& out, const DescribedCommand& program);

}  // namespace qx::tool
