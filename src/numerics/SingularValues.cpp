#include "numerics/SingularValues.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Scratch.h"
#include "numerics/DotProducts.h"
#include "platform/Console.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace qx {
namespace {

constexpr int kMaxSweeps = 30;

float withSignOf(float magnitude, float sign) noexcept {
    return sign >= 0.0f ? std::fabs(magnitude) : -std::fabs(magnitude);
}

float squareRoot(float value) noexcept {
    return static_cast<float>(std::sqrt(static_cast<double>(value)));
}

// The hypotenuse by the ratio of its sides, which cannot overflow on the way.
float hypotenuseOf(float longer, float shorter) noexcept {
    const float ratio = shorter / longer;
    return static_cast<float>(static_cast<double>(longer) * std::sqrt(1.0 + static_cast<double>(ratio * ratio)));
}

float hypotenuse(float a, float b) noexcept {
    const float first = std::fabs(a);
    const float second = std::fabs(b);
    if (first > second)
        return hypotenuseOf(first, second);
    return second == 0.0f ? 0.0f : hypotenuseOf(second, first);
}

// A rotation of two columns.
struct Rotation {
    int first;
    int second;
    float c;
    float s;
};

void rotate(float* __restrict x, float* __restrict z, int count, float c, float s) noexcept {
    for (int k = 0; k < count; ++k) {
        const float y = x[k];
        x[k] = y * c + z[k] * s;
        z[k] = z[k] * c - y * s;
    }
}

// Rotations of a tall matrix, gathered and then applied to a few rows at a time.
class PendingRotations {
public:
    explicit PendingRotations(ColumnMatrix matrix) noexcept : matrix_(matrix) {}

    void add(const Rotation& rotation) noexcept {
        if (count_ == pending_.size())
            apply();
        pending_[count_++] = rotation;
    }

    void apply() noexcept {
        constexpr int kRows = 256;
        for (int row = 0; row < matrix_.rows; row += kRows) {
            const int rows = std::min(kRows, matrix_.rows - row);
            for (std::size_t i = 0; i < count_; ++i) {
                const Rotation& r = pending_[i];
                rotate(matrix_.column(r.first) + row, matrix_.column(r.second) + row, rows, r.c, r.s);
            }
        }
        count_ = 0;
    }

private:
    ColumnMatrix matrix_;
    std::array<Rotation, 128> pending_;
    std::size_t count_ = 0;
};

// The steps of the decomposition. Sums keep the order of rows or columns.
class Decomposition {
public:
    // offDiagonal and sums hold a value a column.
    Decomposition(ColumnMatrix u, float* w, ColumnMatrix v, float* offDiagonal, float* sums) noexcept
        : u_(u), v_(v), w_(w), rv1_(offDiagonal), sums_(sums), rotations_(u) {}

    void bidiagonalise() noexcept {
        float g = 0.0f;
        float scale = 0.0f;
        for (int i = 0; i < u_.columns; ++i) {
            rv1_[i] = scale * g;
            w_[i] = i < u_.rows ? reduceColumn(i) : 0.0f;
            g = scale = 0.0f;
            if (i < u_.rows && i + 1 < u_.columns)
                reduceRow(i, g, scale);
            const float norm = std::fabs(w_[i]) + std::fabs(rv1_[i]);
            norm_ = norm_ > norm ? norm_ : norm;
        }
    }

    void accumulateRight() noexcept {
        const int n = u_.columns;
        for (int i = n - 1; i >= 0; --i) {
            if (i + 1 < n) {
                const float g = rv1_[i + 1];
                if (g != 0.0f)
                    accumulateRightColumn(i, g);
                for (int j = i + 1; j < n; ++j)
                    v_.at(i, j) = v_.at(j, i) = 0.0f;
            }
            v_.at(i, i) = 1.0f;
        }
    }

    void accumulateLeft() noexcept {
        for (int i = std::min(u_.rows, u_.columns) - 1; i >= 0; --i) {
            for (int j = i + 1; j < u_.columns; ++j)
                u_.at(i, j) = 0.0f;
            float* const column = u_.column(i);
            const float g = w_[i];
            if (g != 0.0f)
                accumulateLeftColumn(i, 1.0f / g);
            else
                std::fill(column + i, column + u_.rows, 0.0f);
            column[i] += 1.0f;
        }
    }

    // False when a singular value does not converge.
    bool diagonalise() noexcept {
        for (int k = u_.columns - 1; k >= 0; --k)
            if (!converge(k))
                return false;
        rotations_.apply();
        return true;
    }

private:
    bool isNegligible(float value) const noexcept { return std::fabs(value) + norm_ == norm_; }

    // Householder reflection of column i from row i on; returns the diagonal element.
    float reduceColumn(int i) noexcept {
        float* const column = u_.column(i);
        float scale = 0.0f;
        for (int k = i; k < u_.rows; ++k)
            scale += std::fabs(column[k]);
        if (scale == 0.0f)
            return 0.0f;
        float s = 0.0f;
        for (int k = i; k < u_.rows; ++k) {
            column[k] /= scale;
            s += column[k] * column[k];
        }
        const float f = column[i];
        const float g = -withSignOf(squareRoot(s), f);
        const float h = f * g - s;
        column[i] = f - g;
        dotProducts(column, u_, i + 1, u_.columns, i, sums_);
        for (int j = i + 1; j < u_.columns; ++j)
            addMultiple(sums_[j] / h, column, u_.column(j), i);
        for (int k = i; k < u_.rows; ++k)
            column[k] *= scale;
        return scale * g;
    }

    // Householder reflection of row i right of the diagonal.
    void reduceRow(int i, float& g, float& scale) noexcept {
        const int n = u_.columns;
        for (int k = i + 1; k < n; ++k)
            scale += std::fabs(u_.at(i, k));
        if (scale == 0.0f)
            return;
        float s = 0.0f;
        for (int k = i + 1; k < n; ++k) {
            u_.at(i, k) /= scale;
            s += u_.at(i, k) * u_.at(i, k);
        }
        const float f = u_.at(i, i + 1);
        g = -withSignOf(squareRoot(s), f);
        const float h = f * g - s;
        u_.at(i, i + 1) = f - g;
        for (int k = i + 1; k < n; ++k)
            rv1_[k] = u_.at(i, k) / h;
        reflectRows(i);
        for (int k = i + 1; k < n; ++k)
            u_.at(i, k) *= scale;
    }

    // Every row below i on its own: its product with row i, then the multiple of rv1. A stretch of rows at a time.
    void reflectRows(int i) noexcept {
        constexpr int kRows = 256;
        std::array<float, kRows> sums;
        for (int row = i + 1; row < u_.rows; row += kRows) {
            const int rows = std::min(kRows, u_.rows - row);
            std::fill_n(sums.begin(), rows, 0.0f);
            for (int k = i + 1; k < u_.columns; ++k)
                for (int r = 0; r < rows; ++r)
                    sums[static_cast<std::size_t>(r)] += u_.column(k)[row + r] * u_.at(i, k);
            for (int k = i + 1; k < u_.columns; ++k) {
                float* const column = u_.column(k) + row;
                for (int r = 0; r < rows; ++r)
                    column[r] += sums[static_cast<std::size_t>(r)] * rv1_[k];
            }
        }
    }

    void accumulateRightColumn(int i, float g) noexcept {
        const int n = u_.columns;
        for (int j = i + 1; j < n; ++j)
            v_.at(j, i) = (u_.at(i, j) / u_.at(i, i + 1)) / g;
        for (int j = i + 1; j < n; ++j) {
            float s = 0.0f;
            for (int k = i + 1; k < n; ++k)
                s += u_.at(i, k) * v_.at(k, j);
            for (int k = i + 1; k < n; ++k)
                v_.at(k, j) += s * v_.at(k, i);
        }
    }

    void accumulateLeftColumn(int i, float g) noexcept {
        float* const column = u_.column(i);
        dotProducts(column, u_, i + 1, u_.columns, i + 1, sums_);
        for (int j = i + 1; j < u_.columns; ++j)
            addMultiple((sums_[j] / column[i]) * g, column, u_.column(j), i);
        for (int k = i; k < u_.rows; ++k)
            column[k] *= g;
    }

    // column += factor * x from row `from` on.
    void addMultiple(float factor, const float* __restrict x, float* __restrict column, int from) const noexcept {
        for (int k = from; k < u_.rows; ++k)
            column[k] += factor * x[k];
    }

    // Implicitly shifted QR sweeps until the singular value k stands alone.
    bool converge(int k) noexcept {
        for (int sweep = 1;; ++sweep) {
            bool cancel = false;
            const int l = firstOfBlock(k, cancel);
            if (cancel)
                cancelOffDiagonal(l, k);
            if (l == k)
                break;
            if (sweep == kMaxSweeps)
                return false;
            sweepBlock(l, k);
        }
        if (w_[k] < 0.0f) {
            w_[k] = -w_[k];
            for (int j = 0; j < v_.rows; ++j)
                v_.at(j, k) = -v_.at(j, k);
        }
        return true;
    }

    // Where the block that ends at k begins; `cancel` when the diagonal element before it vanishes. Nothing precedes
    // the first column.
    int firstOfBlock(int k, bool& cancel) const noexcept {
        int l = k;
        for (; l > 0 && !isNegligible(rv1_[l]); --l) {
            cancel = isNegligible(w_[l - 1]);
            if (cancel)
                break;
        }
        return l;
    }

    void cancelOffDiagonal(int l, int k) noexcept {
        float c = 0.0f;
        float s = 1.0f;
        for (int i = l; i <= k; ++i) {
            const float f = s * rv1_[i];
            rv1_[i] = c * rv1_[i];
            if (isNegligible(f))
                break;
            const float g = w_[i];
            float h = hypotenuse(f, g);
            w_[i] = h;
            h = 1.0f / h;
            c = g * h;
            s = -f * h;
            rotations_.add({l - 1, i, c, s});
        }
    }

    void sweepBlock(int l, int k) noexcept {
        float x = w_[l];
        const float last = w_[k];
        float y = w_[k - 1];
        float g = rv1_[k - 1];
        float h = rv1_[k];
        float f = ((y - last) * (y + last) + (g - h) * (g + h)) / (2.0f * h * y);
        g = hypotenuse(f, 1.0f);
        f = ((x - last) * (x + last) + h * ((y / (f + withSignOf(g, f))) - h)) / x;
        float c = 1.0f;
        float s = 1.0f;
        for (int j = l; j < k; ++j) {
            g = rv1_[j + 1];
            y = w_[j + 1];
            h = s * g;
            g = c * g;
            float z = hypotenuse(f, h);
            rv1_[j] = z;
            c = f / z;
            s = h / z;
            f = x * c + g * s;
            g = g * c - x * s;
            h = y * s;
            y *= c;
            rotate(v_.column(j), v_.column(j + 1), v_.rows, c, s);
            z = hypotenuse(f, h);
            w_[j] = z;
            if (z != 0.0f) {
                z = 1.0f / z;
                c = f * z;
                s = h * z;
            }
            f = c * g + s * y;
            x = c * y - s * g;
            rotations_.add({j, j + 1, c, s});
        }
        rv1_[l] = 0.0f;
        rv1_[k] = f;
        w_[k] = x;
    }

    ColumnMatrix u_;
    ColumnMatrix v_;
    float* w_;
    float* rv1_;
    float* sums_;
    float norm_ = 0.0f;
    PendingRotations rotations_;
};

}  // namespace

int svdcmp(ColumnMatrix u, float* w, ColumnMatrix v) noexcept {
    const auto n = static_cast<std::size_t>(u.columns);
    Scratch<float> scratch(2 * n);
    if (!scratch) {
        printConsole("allocation failure in vector()");
        return StatusAllocationFailed;
    }
    Decomposition decomposition(u, w, v, scratch.data(), scratch.data() + n);
    decomposition.bidiagonalise();
    decomposition.accumulateRight();
    decomposition.accumulateLeft();
    if (decomposition.diagonalise())
        return StatusOk;
    printConsole("no convergence in 30 svdcmp iterations");
    return StatusFitNotConverged;
}

int svdBackSubstitute(ColumnMatrix u, const float* w, ColumnMatrix v, const float* b, float* a) noexcept {
    Scratch<float> projections(static_cast<std::size_t>(u.columns));
    if (!projections) {
        printConsole("allocation failure in vector()");
        return StatusAllocationFailed;
    }
    float* const t = projections.data();
    dotProducts(b, u, 0, u.columns, 0, t);
    for (int j = 0; j < u.columns; ++j)
        t[j] = w[j] == 0.0f ? 0.0f : t[j] / w[j];
    for (int j = 0; j < v.rows; ++j) {
        float s = 0.0f;
        for (int k = 0; k < v.columns; ++k)
            s += v.at(j, k) * t[k];
        a[j] = s;
    }
    return StatusOk;
}

}  // namespace qx
