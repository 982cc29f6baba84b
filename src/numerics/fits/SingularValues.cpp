#include "numerics/fits/SingularValues.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Scratch.h"
#include "kernels/SumKernels.h"
#include "numerics/fits/DotProducts.h"
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

// Rows that are worked on together, so that they stay in the fastest memory and the additions of an ordered sum overlap
// with the next rows' updates.
constexpr int kRowsAtOnce = 256;

void multiply(float* values, int count, float factor) noexcept {
    for (int k = 0; k < count; ++k)
        values[k] *= factor;
}

template <class Work>
void forRowGroups(int firstRow, int endRow, Work work) {
    for (int row = firstRow; row < endRow; row += kRowsAtOnce)
        work(row, std::min(kRowsAtOnce, endRow - row));
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
        forRowGroups(0, matrix_.rows, [this](int row, int rows) {
            for (std::size_t i = 0; i < count_; ++i) {
                const Rotation& r = pending_[i];
                sumKernels().rotate(matrix_.column(r.first) + row, matrix_.column(r.second) + row, rows, r.c, r.s);
            }
        });
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
    // offDiagonal, factors and sums hold a value a column.
    Decomposition(ColumnMatrix u, float* w, ColumnMatrix v, float* offDiagonal, float* factors, float* sums) noexcept
        : u_(u), v_(v), w_(w), rv1_(offDiagonal), factors_(factors), sums_(sums), rotations_(u) {}

    void bidiagonalise() noexcept {
        addMagnitudes(u_.column(0), u_.rows);
        float besideDiagonal = 0.0f;
        for (int i = 0; i < u_.columns; ++i) {
            rv1_[i] = besideDiagonal;
            w_[i] = 0.0f;
            besideDiagonal = i < u_.rows ? reduce(i) : 0.0f;
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
        const int last = std::min(u_.rows, u_.columns) - 1;
        dotProducts(u_.column(last), u_, last + 1, u_.columns, last + 1, sums_);
        for (int i = last; i >= 0; --i) {
            for (int j = i + 1; j < u_.columns; ++j)
                u_.at(i, j) = 0.0f;
            const float g = w_[i];
            accumulateLeftColumn(i, g != 0.0f, 1.0f / g);
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

    // Householder reflections of column i from row i on, then of row i right of the diagonal. Finds the diagonal
    // element and returns the one beside it, which belongs to the next column.
    float reduce(int i) noexcept {
        const float columnScale = magnitudes_;
        if (columnScale != 0.0f)
            w_[i] = columnScale * reflectColumn(i, columnScale);
        const auto updateRows = [=, this](int row, int rows) {
            if (columnScale != 0.0f)
                finishColumn(i, columnScale, row, rows);
        };
        updateRows(i, 1);
        float g = 0.0f;
        const float rowScale = reflectRow(i, g);
        magnitudes_ = 0.0f;
        forRowGroups(i + 1, u_.rows, [&](int row, int rows) {
            updateRows(row, rows);
            if (rowScale != 0.0f)
                reflectRows(i, row, rows);
            if (i + 1 < u_.columns)
                addMagnitudes(u_.column(i + 1) + row, rows);
        });
        for (int k = i + 1; k < u_.columns; ++k)
            u_.at(i, k) *= rowScale;
        return rowScale * g;
    }

    void addMagnitudes(const float* values, int count) noexcept {
        for (int k = 0; k < count; ++k)
            magnitudes_ += std::fabs(values[k]);
    }

    // Returns what the diagonal element is of the scale, and leaves each later column's multiple in factors_.
    float reflectColumn(int i, float scale) noexcept {
        float* const column = u_.column(i);
        float s = 0.0f;
        forRowGroups(i, u_.rows, [&](int row, int rows) {
            for (int k = row; k < row + rows; ++k)
                column[k] /= scale;
            for (int k = row; k < row + rows; ++k)
                s += column[k] * column[k];
        });
        const float f = column[i];
        const float g = -withSignOf(squareRoot(s), f);
        const float h = f * g - s;
        column[i] = f - g;
        dotProducts(column, u_, i + 1, u_.columns, i, sums_);
        for (int j = i + 1; j < u_.columns; ++j)
            factors_[j] = sums_[j] / h;
        return g;
    }

    void finishColumn(int i, float scale, int row, int rows) noexcept {
        addColumnMultiples(i, row, rows);
        multiply(u_.column(i) + row, rows, scale);
    }

    // The later columns += their multiples of column i.
    void addColumnMultiples(int i, int row, int rows) noexcept {
        for (int j = i + 1; j < u_.columns; ++j)
            sumKernels().addMultiple(u_.column(i) + row, rows, factors_[j], u_.column(j) + row);
    }

    // Returns the scale of the row, 0 when there is nothing to reflect, and finds what the element beside the diagonal
    // is of it. Leaves the multiples for the rows below in rv1.
    float reflectRow(int i, float& g) noexcept {
        const int n = u_.columns;
        float scale = 0.0f;
        for (int k = i + 1; k < n; ++k)
            scale += std::fabs(u_.at(i, k));
        if (scale == 0.0f)
            return scale;
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
        return scale;
    }

    // Every row below i on its own: its product with row i, then the multiple of rv1.
    void reflectRows(int i, int row, int rows) noexcept {
        std::array<float, kRowsAtOnce> sums{};
        for (int k = i + 1; k < u_.columns; ++k)
            sumKernels().addMultiple(u_.column(k) + row, rows, u_.at(i, k), sums.data());
        for (int k = i + 1; k < u_.columns; ++k)
            sumKernels().addMultiple(sums.data(), rows, rv1_[k], u_.column(k) + row);
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

    // Column i of U from its reflection, times `inverse`, and what it adds to the later columns; the sums for the
    // column before it come along.
    void accumulateLeftColumn(int i, bool isReflected, float inverse) noexcept {
        float* const column = u_.column(i);
        for (int j = i + 1; j < u_.columns; ++j)
            factors_[j] = (sums_[j] / column[i]) * inverse;
        std::fill(sums_, sums_ + u_.columns, 0.0f);
        forRowGroups(i, u_.rows, [&](int row, int rows) {
            if (isReflected) {
                addColumnMultiples(i, row, rows);
                multiply(column + row, rows, inverse);
            } else {
                std::fill_n(column + row, rows, 0.0f);
            }
            if (row == i)
                column[i] += 1.0f;
            if (i > 0)
                addDotProducts(u_.column(i - 1), u_, i, u_.columns, row, row + rows, sums_);
        });
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
            sumKernels().rotate(v_.column(j), v_.column(j + 1), v_.rows, c, s);
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
    float* factors_;
    float* sums_;
    float magnitudes_ = 0.0f;  // of the column that is next to be reduced
    float norm_ = 0.0f;
    PendingRotations rotations_;
};

}  // namespace

int svdcmp(ColumnMatrix u, float* w, ColumnMatrix v) noexcept {
    const auto n = static_cast<std::size_t>(u.columns);
    Scratch<float> scratch(3 * n);
    if (!scratch) {
        printConsole("allocation failure in vector()");
        return StatusAllocationFailed;
    }
    Decomposition decomposition(u, w, v, scratch.data(), scratch.data() + n, scratch.data() + 2 * n);
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
