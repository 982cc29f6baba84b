#include "reference/numerics/PlainSpline.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace qx::plain {

namespace {

using Line = std::vector<float>;

// Second derivatives at the knots y.
Line secondDerivatives(const Line& y) {
    const int n = static_cast<int>(y.size());
    Line c(y.size(), 0.0f);
    Line u(y.size(), 0.0f);
    Line m(y.size(), 0.0f);
    for (int i = 1; i <= n - 2; ++i) {
        const float d = 6.0f * ((y[i + 1] - 2.0f * y[i]) + y[i - 1]);
        c[i] = -1.0f / (4.0f + c[i - 1]);
        u[i] = (d - u[i - 1]) / (4.0f + c[i - 1]);
    }
    for (int i = n - 2; i >= 1; --i)
        m[i] = c[i] * m[i + 1] + u[i];
    return m;
}

// The last knot at and beyond its place.
float splineAt(const Line& y, const Line& m, float x) {
    if (std::isnan(x))
        return x;
    if (x >= static_cast<float>(y.size() - 1))
        return y.back();
    const int i = static_cast<int>(x);
    const float a = static_cast<float>(i + 1) - x;
    const float b = x - static_cast<float>(i);
    const float bentA = (a * a) * a - a;
    const float bentB = (b * b) * b - b;
    return (a * y[i] + b * y[i + 1]) + ((bentA * m[i] + bentB * m[i + 1]) / 6.0f);
}

// Exactly -0.5, and what is not a number, gives 65535.
WORD roundedPixel(float value) {
    const float v = value + 0.5f;
    if (0.0f < v && v < 65535.0f)
        return static_cast<WORD>(v);
    return v < 0.0f ? WORD{0} : WORD{65535};
}

// The spline through the knots y at the positions 0, 1, .. count - 1 times the scale.
Line resampledLine(const Line& y, int count) {
    const float scale = static_cast<float>(y.size() - 1) / static_cast<float>(count - 1);
    const Line m = secondDerivatives(y);
    Line values;
    for (int j = 0; j < count; ++j)
        values.push_back(splineAt(y, m, static_cast<float>(j) * scale));
    return values;
}

}  // namespace

void interpImg2D(WORD* out, int outRows, int outColumns, const WORD* in, int inRows, int inColumns) {
    std::vector<Line> rows;
    for (int y = 0; y < inRows; ++y, in += inColumns)
        rows.push_back(resampledLine({in, in + inColumns}, outColumns));
    for (int x = 0; x < outColumns; ++x) {
        Line column;
        for (const Line& row : rows)
            column.push_back(row[x]);
        const Line values = resampledLine(column, outRows);
        for (int k = 0; k < outRows; ++k)
            out[static_cast<std::ptrdiff_t>(k) * outColumns + x] = roundedPixel(values[k]);
    }
}

}  // namespace qx::plain
