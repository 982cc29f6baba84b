#include "numerics/fits/Bidiagonal.h"

#include "foundation/Panels.h"
#include "kernels/SumKernels.h"
#include "numerics/fits/DotProducts.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace qx {
namespace {

// What a reflection leaves of a vector: its length, with the sign that its first element does not have.
float reflectedLength(float squares, float first) noexcept {
    const float length = std::fabs(std::sqrt(squares));
    return first >= 0.0f ? -length : length;
}

void multiply(float* values, int count, float factor) noexcept {
    for (int k = 0; k < count; ++k)
        values[k] *= factor;
}

// Work that passes over many rows takes a few of them at a time, through all of its steps.
template <class Work>
void forRowGroups(int firstRow, int endRow, Work work) {
    forPanels(endRow - firstRow, kRowsAtOnce, [&](int row, int rows) { work(firstRow + row, rows); });
}

// Householder reflections. Sums keep the order of rows or columns.
//
// A tall matrix is passed as rarely as can be: a step takes along, row group by row group, what the next step needs.
// - magnitudes_: of column i + 1, by which step i + 1 of the reduction scales it; taken when step i is done with a row.
// - sums_[j], for the columns j behind the one that is reflected: its products with them, of which their multiples
//   factors_[j] of it come. Of the columns' accumulation, which goes backwards, step i takes those of column i - 1.
// - above_[k], k > i: the multiples of row i that the rows below receive in step i. Only then is above_[i + 1] the
//   element beside the diagonal.
class Bidiagonalisation {
public:
    Bidiagonalisation(ColumnMatrix u, ColumnMatrix v, const Bidiagonal& result, float* factors, float* sums) noexcept
        : u_(u), v_(v), w_(result.diagonal), above_(result.above), factors_(factors), sums_(sums) {}

    // Returns the largest sum of the magnitudes of a column's two elements.
    float reduce() noexcept {
        addMagnitudes(u_.column(0), u_.rows);
        float besideDiagonal = 0.0f;
        float largest = 0.0f;
        for (int i = 0; i < u_.columns; ++i) {
            above_[i] = besideDiagonal;
            w_[i] = 0.0f;
            besideDiagonal = i < u_.rows ? reduceColumnAndRow(i) : 0.0f;
            const float norm = std::fabs(w_[i]) + std::fabs(above_[i]);
            largest = largest > norm ? largest : norm;
        }
        return largest;
    }

    void accumulateRight() noexcept {
        const int n = u_.columns;
        for (int i = n - 1; i >= 0; --i) {
            if (i + 1 < n) {
                const float g = above_[i + 1];
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

private:
    // Householder reflections of column i from row i on, then of row i right of the diagonal. Finds the diagonal
    // element and returns the one beside it, which belongs to the next column.
    float reduceColumnAndRow(int i) noexcept {
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
        const float g = reflectedLength(s, f);
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
    // is of it. Leaves the multiples for the rows below in above_.
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
        g = reflectedLength(s, f);
        const float h = f * g - s;
        u_.at(i, i + 1) = f - g;
        for (int k = i + 1; k < n; ++k)
            above_[k] = u_.at(i, k) / h;
        return scale;
    }

    // Every row below i on its own: its product with row i, then the multiple of above_.
    void reflectRows(int i, int row, int rows) noexcept {
        std::array<float, kRowsAtOnce> sums{};
        for (int k = i + 1; k < u_.columns; ++k)
            sumKernels().addMultiple(u_.column(k) + row, rows, u_.at(i, k), sums.data());
        for (int k = i + 1; k < u_.columns; ++k)
            sumKernels().addMultiple(sums.data(), rows, above_[k], u_.column(k) + row);
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

    ColumnMatrix u_;
    ColumnMatrix v_;
    float* w_;
    float* above_;
    float* factors_;
    float* sums_;
    float magnitudes_ = 0.0f;
};

}  // namespace

float bidiagonalise(ColumnMatrix u, ColumnMatrix v, const Bidiagonal& result, float* scratch) noexcept {
    Bidiagonalisation steps(u, v, result, scratch, scratch + u.columns);
    const float norm = steps.reduce();
    steps.accumulateRight();
    steps.accumulateLeft();
    return norm;
}

}  // namespace qx
