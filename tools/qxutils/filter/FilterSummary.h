#pragma once

#include "image/Image.h"
#include "results/Record.h"

// What is told about a filtered image, with its table as the record's text.

namespace qx::tool {

// The grey ranges of both images and how far they differ.
Record changesOf(const RawImage& before, const RawImage& after);

}  // namespace qx::tool
