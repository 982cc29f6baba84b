#pragma once

namespace qx {

// A float image that is read row by row, so that it need not lie in memory.
class FloatRows {
public:
    virtual ~FloatRows() = default;

    // The row's values, valid until the next call.
    virtual const float* row(int y) noexcept = 0;

    virtual float pixel(int y, int x) const noexcept = 0;

protected:
    FloatRows() = default;
    FloatRows(const FloatRows&) = default;
    FloatRows& operator=(const FloatRows&) = default;
};

}  // namespace qx
