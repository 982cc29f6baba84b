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
        for (std::size_t k = 0; k <= 2 * static_cast<std::size_t>(order); ++k) {
            sums.ofX[k] += power;
            if (k <= static_cast<std::size_t>(order))
                sums.ofXY[k] += power * y;
            power *= x;
        }
    }
    return sums;
}

NormalEquations equationsOf(const PowerSums& sums, int order) {
    NormalEquations equations{order};
    const auto size = static_cast<std::size_t>(order) + 1;
    for (std::size_t r = 0; r < size; ++r) {
        for (std::size_t c = 0; c < size; ++c)
            equations.rows[r][c] = sums.ofX[r + c];
        equations.rows[r][size] = sums.ofXY[r];
    }
    return equations;
}

// Brings the largest value of column k to row k; the earlier row on ties.
void swapPivotRow(NormalEquations& equations, std::size_t k) {
    const auto size = static_cast<std::size_t>(equations.last());
    std::size_t pivot = k;
    for (std::size_t i = k; i < size; ++i)
        if (std::fabs(equations.rows[i][k]) > std::fabs(equations.rows[pivot][k]))
            pivot = i;
    for (std::size_t j = k; pivot != k && j <= size; ++j)
        std::swap(equations.rows[k][j], equations.rows[pivot][j]);
}

void eliminate(NormalEquations& equations) {
    const auto size = static_cast<std::size_t>(equations.last());
    auto& a = equations.rows;
    for (std::size_t k = 0; k + 1 < size; ++k) {
        swapPivotRow(equations, k);
        // Kept: a zero pivot is passed over, a singular system not reported.
        if (a[k][k] == 0.0f)
            continue;
        for (std::size_t i = k + 1; i < size; ++i)
            for (std::size_t j = k + 1; j <= size; ++j)
                a[i][j] -= a[i][k] * a[k][j] / a[k][k];
    }
}

void substituteBack(const NormalEquations& equations, float* c) {
    const int order = equations.order;
    const auto& a = equations.rows;
    const auto n = static_cast<std::size_t>(order);
    // Kept: without a pivot the highest coefficient stays the caller's, the others stay undivided.
    if (a[n][n] != 0.0f)
        c[n] = a[n][n + 1] / a[n][n];
    for (std::size_t i = n; i-- > 0;) {
        float sum = 0.0f;
        for (std::size_t j = i + 1; j <= n; ++j)
            sum += a[i][j] * c[j];
        c[i] = a[i][n + 1] - sum;
        if (a[i][i] != 0.0f)
            c[i] /= a[i][i];
    }
}

}  // namespace

void polyFit(float* coefficients, const float* const* points, int pointCount, int order) {
    if (order > kMaxOrder)
        throw StatusPolynomialOrder;
    if (coefficients == nullptr || points == nullptr || pointCount < 0 || order < 0)
        return;
    NormalEquations equations = equationsOf(sumPowers(points, pointCount, order), order);
    eliminate(equations);
    substituteBack(equations, coefficients);
}
