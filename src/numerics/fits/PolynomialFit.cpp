#include "QxUtils/Numerics.h"
#include "QxUtils/StatusCode.h"

#include <array>
#include <cmath>
#include <utility>

namespace {

constexpr int kMaxOrder = 6;

using Vector = std::array<float, kMaxOrder + 2>;

// Normal equations of a fit: row r holds the sums of x^(r + c) in column c, and the sum of y x^r in the last one.
struct NormalEquations {
    int order;
    std::array<Vector, kMaxOrder + 1> rows{};

    int last() const { return order + 1; }
};

struct PowerSums {
    std::array<float, 2 * kMaxOrder + 1> ofX{};
    std::array<float, kMaxOrder + 1> ofXY{};
};

PowerSums sumPowers(const float* const* points, int pointCount, int order) {
    PowerSums sums;
    for (int i = 0; i < pointCount; ++i) {
        const float x = points[i][0];
        const float y = points[i][1];
        float power = 1.0f;
        for (int k = 0; k <= 2 * order; ++k) {
            sums.ofX[k] += power;
            if (k <= order)
                sums.ofXY[k] += power * y;
            power *= x;
        }
    }
    return sums;
}

NormalEquations equationsOf(const PowerSums& sums, int order) {
    NormalEquations equations{order};
    for (int r = 0; r <= order; ++r) {
        for (int c = 0; c <= order; ++c)
            equations.rows[r][c] = sums.ofX[r + c];
        equations.rows[r][equations.last()] = sums.ofXY[r];
    }
    return equations;
}

// Brings the largest value of column k to row k; the earlier row on ties.
void swapPivotRow(NormalEquations& equations, int k) {
    int pivot = k;
    for (int i = k; i <= equations.order; ++i)
        if (std::fabs(equations.rows[i][k]) > std::fabs(equations.rows[pivot][k]))
            pivot = i;
    for (int j = k; pivot != k && j <= equations.last(); ++j)
        std::swap(equations.rows[k][j], equations.rows[pivot][j]);
}

void eliminate(NormalEquations& equations) {
    auto& a = equations.rows;
    for (int k = 0; k < equations.order; ++k) {
        swapPivotRow(equations, k);
        // Kept: a zero pivot is passed over, a singular system not reported.
        if (a[k][k] == 0.0f)
            continue;
        for (int i = k + 1; i <= equations.order; ++i)
            for (int j = k + 1; j <= equations.last(); ++j)
                a[i][j] -= a[i][k] * a[k][j] / a[k][k];
    }
}

void substituteBack(const NormalEquations& equations, float* c) {
    const auto& a = equations.rows;
    const int n = equations.order;
    // Kept: without a pivot the highest coefficient stays the caller's, the others stay undivided.
    if (a[n][n] != 0.0f)
        c[n] = a[n][n + 1] / a[n][n];
    for (int i = n - 1; i >= 0; --i) {
        float sum = 0.0f;
        for (int j = i + 1; j <= n; ++j)
            sum += a[i][j] * c[j];
        c[i] = a[i][n + 1] - sum;
        if (a[i][i] != 0.0f)
            c[i] /= a[i][i];
    }
}

}  // namespace

void polyFit(float* coefficients, const float* const* points, int pointCount, int order) {
    // Kept: the status is thrown, before anything else is looked at.
    if (order > kMaxOrder)
        throw StatusPolynomialOrder;
    if (coefficients == nullptr || points == nullptr || pointCount < 0 || order < 0)
        return;
    NormalEquations equations = equationsOf(sumPowers(points, pointCount, order), order);
    eliminate(equations);
    substituteBack(equations, coefficients);
}
