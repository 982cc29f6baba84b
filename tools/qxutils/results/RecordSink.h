#pragma once

#include "results/Record.h"

#include <functional>

namespace qx::tool {

// Where results go besides standard output.
using RecordSink = std::function<void(const Record&)>;

}  // namespace qx::tool
