#pragma once

#include "image/Image.h"
#include "results/Record.h"

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace qx::tool {

// What is told about the ratios that localRatio gives inside the border, of its rows as they come.
class RatioSummary {
public:
    // Throws a ToolError for an image that localRatio refuses.
    explicit RatioSummary(const RawImage& image);

    // The next rows that localRatio hands out.
    void add(std::span<const float> rows);

    // When all have come, with the table as its text.
    Record record() const;

private:
    // Numbers from zero up are in the order of their bits.
    using Key = std::int32_t;

    void bracketMedian();
    void addInside(std::span<const float> ratios);
    void addEach(std::span<const float> ratios);
    float median() const;

    const RawImage& image_;
    int rows_ = 0;
    std::int64_t count_ = 0;  // of pixels other than 0
    Key least_ = std::numeric_limits<Key>::max();
    Key largest_ = 0;
    // Between which a sample places the median, so that few values have to be put in order: those above the lower one.
    // Ratios of an even image are 1 nearly everywhere.
    Key low_ = 0;
    Key high_ = 0;
    std::int64_t belowLow_ = 0;
    std::int64_t upToLow_ = 0;
    std::vector<Key> within_;
};

}  // namespace qx::tool
