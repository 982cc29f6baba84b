#pragma once

#include "image/Region.h"
#include "results/Record.h"

#include <string>
#include <vector>

// The places of an image that a verdict rests on. Where the library does not say which place decided, these are the
// places that it examined.

namespace qx::tool {

enum class MarkState { Examined, Met, NotMet };

// From corner to corner of pixels.
struct MarkLine {
    Point from;
    Point to;
};

struct MarkedPlace {
    Region place;
    std::string label;
    MarkState state = MarkState::Examined;
    std::vector<MarkLine> outline{};  // of what is no rectangle
};

// Marks that are shown and hidden together.
struct Overlay {
    std::string name;
    std::vector<MarkedPlace> marks;
    std::string check{};  // whose verdict rests on them
};

// Of the record's check; none for a check that looks at no place. The dark image may be missing: what needs it is left
// out then.
std::vector<Overlay> overlaysOf(const Record& record, const RawImage& image, const RawImage* dark);
std::vector<Overlay> overlaysOf(const Record& record, const FloatImage& image);

}  // namespace qx::tool
