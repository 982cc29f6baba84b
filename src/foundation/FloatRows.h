#pragma once

namespace qx {

// A float image that is read row by row, so that it need not lie in memory.
class FloatRows {
public:
    virtual ~FloatRows() = default;

    int width() const noexcept { return width_; }
    int height() const noexcept { return height_; }

    // The row's values, valid until the next call.
    virtual const float* row(int y) noexcept = 0;

    virtual float pixel(int y, int x) const noexcept = 0;

protected:
    FloatRows(int width, int height) noexcept : width_(width), height_(height) {}
    FloatRows(const FloatRows&) = default;
    FloatRows& operator=(const FloatRows&) = default;

private:
    int width_;
    int height_;
};

}  // namespace qx
