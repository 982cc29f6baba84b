#pragma once

#include "correction/afe/AfeBalance.h"
#include "foundation/FloatRows.h"
#include "foundation/Scratch.h"
#include "quality/exposure/Exposure.h"

namespace qx {

// What a pixel of each image gives the AFE balance.
using Difference = float(WORD bright, WORD dark) noexcept;

inline float signedDifference(WORD bright, WORD dark) noexcept {
    const float level = bright;
    return level - dark;
}

// A difference that is not above 0 has no signal.
inline float raisedDifference(WORD bright, WORD dark) noexcept {
    return bright > dark ? bright - dark : kNoSignal;
}

// Rows of an exposure as float values; test before use.
template <Difference difference>
class ExposureRows final : public FloatRows {
public:
    explicit ExposureRows(const Exposure& exposure) noexcept
        : FloatRows(exposure.width(), exposure.height()), exposure_(exposure), row_(exposure.width()) {}

    explicit operator bool() const noexcept { return static_cast<bool>(row_); }

    const float* row(int y) noexcept override {
        const WORD* const bright = exposure_.image.row(y);
        const WORD* const dark = exposure_.dark.row(y);
        float* const values = row_.data();
        for (int x = 0; x < exposure_.width(); ++x)
            values[x] = difference(bright[x], dark[x]);
        return values;
    }

    float pixel(int y, int x) const noexcept override {
        return difference(exposure_.image.at(y, x), exposure_.dark.at(y, x));
    }

private:
    Exposure exposure_;
    Scratch<float> row_;
};

}  // namespace qx
