#pragma once

#include "common/Shape.h"

#include <QxUtils/Types.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// Which shapes a raw file without a word about its size may have, and how sure that is.

namespace qx::tool {

// A shape that a raw file of some size could have.
struct Geometry {
    Shape shape;
    bool hasHeader = false;
    bool isCommonPanel = false;

    bool operator==(const Geometry&) const = default;
};

// Certain: the file's header says so, and its size agrees. Likely: neighbouring rows are more alike than with any other
// width that fits, and words are no halves of pixels. Possible: the size fits, no more.
enum class Confidence { Possible, Likely, Certain };

struct JudgedGeometry {
    Geometry geometry;
    Confidence confidence = Confidence::Possible;
    double rowDifference = 0.0;    // mean distance of a pixel from the one below it, in counts
    double otherDifference = 0.0;  // the least that another width gives
};

// Shapes that fit a file's size: those of common panels first, then other factor pairs whose sides are multiples of
// 32 and whose aspect is plausible.
std::vector<Geometry> plausibleGeometries(std::int64_t fileBytes);

// Judges the geometries that fit a file by all its words, from the first one on, and by the shape that its header
// tells, if it tells one: this is judged too, be it plausible or not. The surest come first, and otherwise they stay in
// order.
std::vector<JudgedGeometry> judgeGeometries(std::span<const WORD> words, std::vector<Geometry> geometries,
                                            const std::optional<Shape>& headerShape);

// The geometry to take when nobody says: the certain one, else the likely one, else the only common panel that fits.
std::optional<Geometry> unambiguousGeometry(const std::vector<JudgedGeometry>& geometries);

// "certain", "likely" or "possible".
const char* toText(Confidence confidence);

}  // namespace qx::tool
