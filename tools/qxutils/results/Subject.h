#pragma once

#include "image/RawImage.h"
#include "results/Record.h"

#include <optional>
#include <string>

namespace qx::tool {

class NamedInput;

// A file as the subject of a record: its length and when it was last written, where it is a file that tells.
Subject subjectOf(const std::string& file, std::optional<Shape> shape = std::nullopt);

// With the CRC-32 of the file's content, which is read for it, if that is told.
Subject subjectOf(const NamedInput& input, bool tellsContent);

// With the CRC-32 of what was read.
Subject subjectOf(const std::string& file, const LoadedImage& loaded);
Subject subjectOf(const std::string& file, const FloatImage& image);
Subject subjectOf(const std::string& file, const LongImage& image);

}  // namespace qx::tool
