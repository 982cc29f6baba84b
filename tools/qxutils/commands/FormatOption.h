#pragma once

#include "results/Format.h"

namespace CLI {
class App;
}

namespace qx::tool {

void addFormatOption(CLI::App& command, Format& format);

}  // namespace qx::tool
