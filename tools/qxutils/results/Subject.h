#pragma once

#include "results/Record.h"

namespace qx::tool {

// A file as the subject of a record: its length and when it was last written.
Subject subjectOf(const std::string& file, std::optional<Shape> shape = std::nullopt);

}  // namespace qx::tool
