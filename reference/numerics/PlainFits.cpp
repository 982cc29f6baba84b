#include "reference/numerics/PlainFits.h"

#include "reference/numerics/PlainStatistics.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <utility>

namespace qx::plain {

namespace {

using Row = std::vector<float>;

// Row r, column c holds the power sum r + c, the last column the sum of y times the power r.
std::vector<Row> normalEquations(const float* const* points, int pointCount, int order) {
    std::vector<Row> matrix(order + 1, Row(order + 2, 0.0f));
    for (int i = 0; i < pointCount; ++i) {
        Row powers(2 * order + 1, 1.0f);
        for (int k = 1; k <= 2 * order; ++k)
            powers[k] = powers[k - 1] * points[i][0];
        for (int r = 0; r <= order; ++r) {
            for (int c = 0; c <= order; ++c)
                matrix[r][c] += powers[r + c];
            matrix[r][order + 1] += powers[r] * points[i][1];
        }
    }
    return matrix;
}

void eliminate(std::vector<Row>& matrix, int order) {
    for (int k = 0; k < order; ++k) {
        int pivot = k;
        for (int i = k + 1; i <= order; ++i) {
            if (std::fabs(matrix[i][k]) > std::fabs(matrix[pivot][k]))
                pivot = i;
        }
        if (pivot != k) {
            for (int j = k; j <= order + 1; ++j)
                std::swap(matrix[k][j], matrix[pivot][j]);
        }
        for (int i = k + 1; i <= order; ++i) {
            for (int j = k + 1; j <= order + 1; ++j) {
                if (matrix[k][k] != 0.0f)
                    matrix[i][j] -= matrix[i][k] * matrix[k][j] / matrix[k][k];
            }
        }
    }
}

}  // namespace

void polyFit(float* coefficients, const float* const* points, int pointCount, int order) {
    std::vector<Row> matrix = normalEquations(points, pointCount, order);
    eliminate(matrix, order);
    if (matrix[order][order] != 0.0f)
        coefficients[order] = matrix[order][order + 1] / matrix[order][order];
    for (int i = order - 1; i >= 0; --i) {
        float sum = 0.0f;
        for (int j = i + 1; j <= order; ++j)
            sum += matrix[i][j] * coefficients[j];
        coefficients[i] = matrix[i][order + 1] - sum;
        if (matrix[i][i] != 0.0f)
            coefficients[i] /= matrix[i][i];
    }
}

int calcMedianPerColumn(float* medians, const float* image, int width, int height) {
    Row transposed(static_cast<std::size_t>(width) * std::max(height, 0), 0.0f);
    for (int row = 0; row < height; ++row) {
        for (int col = 0; col < width; ++col)
            transposed[col * height + row] = image[row * width + col];
    }
    for (int col = 0; col < width; ++col)
        medians[col] = descendingMedian(transposed.data() + col * height, height);
    return 0;
}

RowMatrix rowMatrix(int rows, int columns) {
    return RowMatrix(rows + 1, Row(columns + 1, 0.0f));
}

namespace {

float withSignOf(float magnitude, float sign) {
    return sign >= 0.0f ? std::fabs(magnitude) : -std::fabs(magnitude);
}

float hypotenuse(float a, float b) {
    const float x = std::fabs(a);
    const float y = std::fabs(b);
    if (x > y) {
        const float ratio = y / x;
        return static_cast<float>(x * std::sqrt(1.0 + ratio * ratio));
    }
    if (y == 0.0f)
        return 0.0f;
    const float ratio = x / y;
    return static_cast<float>(y * std::sqrt(1.0 + ratio * ratio));
}

float largerOf(float a, float b) {
    return a > b ? a : b;
}

// Turns column i below row i into a Householder vector and reflects the columns to its right. Returns the diagonal
// element.
float reflectColumn(RowMatrix& u, int m, int n, int i) {
    float scale = 0.0f;
    for (int k = i; k <= m; ++k)
        scale += std::fabs(u[k][i]);
    if (scale == 0.0f)
        return 0.0f;
    float s = 0.0f;
    for (int k = i; k <= m; ++k) {
        u[k][i] /= scale;
        s += u[k][i] * u[k][i];
    }
    const float f = u[i][i];
    const float g = -withSignOf(std::sqrt(s), f);
    const float h = f * g - s;
    u[i][i] = f - g;
    for (int j = i + 1; j <= n; ++j) {
        float sum = 0.0f;
        for (int k = i; k <= m; ++k)
            sum += u[k][i] * u[k][j];
        const float factor = sum / h;
        for (int k = i; k <= m; ++k)
            u[k][j] += factor * u[k][i];
    }
    for (int k = i; k <= m; ++k)
        u[k][i] *= scale;
    return scale * g;
}

// The same for row i right of the diagonal and the rows below. Returns the element beside the diagonal.
float reflectRow(RowMatrix& u, int m, int n, int i, float* e) {
    const int l = i + 1;
    float scale = 0.0f;
    for (int k = l; k <= n; ++k)
        scale += std::fabs(u[i][k]);
    if (scale == 0.0f)
        return 0.0f;
    float s = 0.0f;
    for (int k = l; k <= n; ++k) {
        u[i][k] /= scale;
        s += u[i][k] * u[i][k];
    }
    const float f = u[i][l];
    const float g = -withSignOf(std::sqrt(s), f);
    const float h = f * g - s;
    u[i][l] = f - g;
    for (int k = l; k <= n; ++k)
        e[k] = u[i][k] / h;
    for (int j = l; j <= m; ++j) {
        float sum = 0.0f;
        for (int k = l; k <= n; ++k)
            sum += u[j][k] * u[i][k];
        for (int k = l; k <= n; ++k)
            u[j][k] += sum * e[k];
    }
    for (int k = l; k <= n; ++k)
        u[i][k] *= scale;
    return scale * g;
}

// Leaves the diagonal in w and the elements beside it in e[2 .. n]. Returns the norm that negligible is measured by.
float bidiagonalise(RowMatrix& u, int m, int n, float* w, float* e) {
    float norm = 0.0f;
    float beside = 0.0f;
    for (int i = 1; i <= n; ++i) {
        e[i] = beside;
        w[i] = i <= m ? reflectColumn(u, m, n, i) : 0.0f;
        beside = i <= m && i != n ? reflectRow(u, m, n, i, e) : 0.0f;
        norm = largerOf(norm, std::fabs(w[i]) + std::fabs(e[i]));
    }
    return norm;
}

void accumulateRight(RowMatrix& u, int n, const float* e, RowMatrix& v) {
    for (int i = n; i >= 1; --i) {
        const int l = i + 1;
        if (i < n && e[l] != 0.0f) {
            for (int j = l; j <= n; ++j)
                v[j][i] = u[i][j] / u[i][l] / e[l];
            for (int j = l; j <= n; ++j) {
                float sum = 0.0f;
                for (int k = l; k <= n; ++k)
                    sum += u[i][k] * v[k][j];
                for (int k = l; k <= n; ++k)
                    v[k][j] += sum * v[k][i];
            }
        }
        for (int j = l; j <= n; ++j)
            v[i][j] = v[j][i] = 0.0f;
        v[i][i] = 1.0f;
    }
}

void accumulateLeft(RowMatrix& u, int m, int n, const float* w) {
    for (int i = std::min(m, n); i >= 1; --i) {
        for (int j = i + 1; j <= n; ++j)
            u[i][j] = 0.0f;
        if (w[i] != 0.0f) {
            const float inverse = 1.0f / w[i];
            for (int j = i + 1; j <= n; ++j) {
                float sum = 0.0f;
                for (int k = i + 1; k <= m; ++k)
                    sum += u[k][i] * u[k][j];
                const float factor = sum / u[i][i] * inverse;
                for (int k = i; k <= m; ++k)
                    u[k][j] += factor * u[k][i];
            }
            for (int k = i; k <= m; ++k)
                u[k][i] *= inverse;
        } else {
            for (int k = i; k <= m; ++k)
                u[k][i] = 0.0f;
        }
        u[i][i] += 1.0f;
    }
}

// Turns columns first and second of the matrix by the angle with cosine c and sine s.
void rotate(RowMatrix& matrix, int rows, int first, int second, float c, float s) {
    for (int k = 1; k <= rows; ++k) {
        const float x = matrix[k][first];
        const float y = matrix[k][second];
        matrix[k][first] = x * c + y * s;
        matrix[k][second] = y * c - x * s;
    }
}

bool negligible(float value, float norm) {
    return std::fabs(value) + norm == norm;
}

// w[l - 1] is negligible: rotates e[l] away.
void cancel(RowMatrix& u, int m, float* w, float* e, int l, int k, float norm) {
    float c = 0.0f;
    float s = 1.0f;
    for (int i = l; i <= k; ++i) {
        const float f = s * e[i];
        e[i] = c * e[i];
        if (negligible(f, norm))
            break;
        const float g = w[i];
        w[i] = hypotenuse(f, g);
        const float inverse = 1.0f / w[i];
        c = g * inverse;
        s = -f * inverse;
        rotate(u, m, l - 1, i, c, s);
    }
}

// One sweep over the block l .. k, with the shift from its last 2 x 2 minor.
void sweep(RowMatrix& u, int m, int n, float* w, float* e, RowMatrix& v, int l, int k) {
    float x = w[l];
    float y = w[k - 1];
    float z = w[k];
    float g = e[k - 1];
    float h = e[k];
    float f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0f * h * y);
    g = hypotenuse(f, 1.0f);
    f = ((x - z) * (x + z) + h * (y / (f + withSignOf(g, f)) - h)) / x;
    float c = 1.0f;
    float s = 1.0f;
    for (int j = l; j < k; ++j) {
        const int i = j + 1;
        g = e[i];
        y = w[i];
        h = s * g;
        g = c * g;
        e[j] = z = hypotenuse(f, h);
        c = f / z;
        s = h / z;
        f = x * c + g * s;
        g = g * c - x * s;
        h = y * s;
        y *= c;
        rotate(v, n, j, i, c, s);
        w[j] = z = hypotenuse(f, h);
        if (z != 0.0f) {
            z = 1.0f / z;
            c = f * z;
            s = h * z;
        }
        f = c * g + s * y;
        x = c * y - s * g;
        rotate(u, m, j, i, c, s);
    }
    e[l] = 0.0f;
    e[k] = f;
    w[k] = x;
}

bool converge(RowMatrix& u, int m, int n, float* w, float* e, RowMatrix& v, int k, float norm) {
    for (int iteration = 1;; ++iteration) {
        int l = k;
        while (l > 1 && !negligible(e[l], norm) && !negligible(w[l - 1], norm))
            --l;
        if (l > 1 && !negligible(e[l], norm))
            cancel(u, m, w, e, l, k, norm);
        if (l == k) {
            if (w[k] < 0.0f) {
                w[k] = -w[k];
                for (int j = 1; j <= n; ++j)
                    v[j][k] = -v[j][k];
            }
            return true;
        }
        if (iteration == 30)
            return false;
        sweep(u, m, n, w, e, v, l, k);
    }
}

}  // namespace

int svdcmp(RowMatrix& u, int m, int n, float* w, RowMatrix& v) {
    Row e(n + 1, 0.0f);
    const float norm = bidiagonalise(u, m, n, w, e.data());
    accumulateRight(u, n, e.data(), v);
    accumulateLeft(u, m, n, w);
    for (int k = n; k >= 1; --k) {
        if (!converge(u, m, n, w, e.data(), v, k, norm))
            return 1079;
    }
    return 0;
}

namespace {

// Solves U diag(w) V^T a = b, without the components whose singular value is 0.
void svdBackSubstitute(const RowMatrix& u, const Row& w, const RowMatrix& v, int m, int n, const Row& b, float* a) {
    Row tmp(n + 1, 0.0f);
    for (int j = 1; j <= n; ++j) {
        if (w[j] == 0.0f)
            continue;
        float sum = 0.0f;
        for (int i = 1; i <= m; ++i)
            sum += u[i][j] * b[i];
        tmp[j] = sum / w[j];
    }
    for (int j = 1; j <= n; ++j) {
        float sum = 0.0f;
        for (int k = 1; k <= n; ++k)
            sum += v[j][k] * tmp[k];
        a[j] = sum;
    }
}

// 1, x, y, xy, x^2, y^2, and up to ten values x^2 y, x y^2, x^3, y^3, from the centre of the image.
void basisAt(int index, int width, int height, int count, float* values) {
    const std::int64_t x = index % width - width / 2;
    const std::int64_t y = index / width - height / 2;
    const std::int64_t terms[] = {1, x, y, x * y, x * x, y * y, x * x * y, x * y * y, x * x * x, y * y * y};
    for (int k = 0; k < count; ++k)
        values[k] = static_cast<float>(terms[k]);
}

// One design row a pixel, all of the same weight; c is indexed from 1. Returns false, with everything as it was, when
// the fit does not converge.
bool fitPixels(const float* image, int width, int height, int terms, float* c, float& quality, float* chiSquare) {
    const int count = width * height;
    RowMatrix u = rowMatrix(count, terms);
    RowMatrix v = rowMatrix(terms, terms);
    Row w(terms + 1);
    Row y(count + 1);
    for (int i = 1; i <= count; ++i) {
        basisAt(i - 1, width, height, terms, &u[i][1]);
        y[i] = image[i - 1];
    }
    if (svdcmp(u, count, terms, w.data(), v) != 0)
        return false;
    float largest = 0.0f;
    for (const float value : w)
        largest = largerOf(value, largest);
    const float threshold = static_cast<float>(largest * 1e-5);
    for (float& value : w) {
        if (value < threshold)
            value = 0.0f;
    }
    svdBackSubstitute(u, w, v, count, terms, y, c);

    Row values(terms);
    const auto fitted = [&](int i) {
        basisAt(i - 1, width, height, terms, values.data());
        return std::inner_product(values.begin(), values.end(), c + 1, 0.0f);
    };
    float chi = 0.0f;
    float dataMean = 0.0f;
    float fitMean = 0.0f;
    for (int i = 1; i <= count; ++i) {
        const float f = fitted(i);
        chi += (y[i] - f) * (y[i] - f);
        dataMean += y[i];
        fitMean += f;
    }
    *chiSquare = chi;
    dataMean /= static_cast<float>(count);
    fitMean /= static_cast<float>(count);
    float mixed = 0.0f;
    float fitSquares = 0.0f;
    float dataSquares = 0.0f;
    for (int i = 1; i <= count; ++i) {
        const float f = fitted(i);
        mixed += (y[i] - dataMean) * (f - fitMean);
        fitSquares += (f - fitMean) * (f - fitMean);
        dataSquares += (y[i] - dataMean) * (y[i] - dataMean);
    }
    const float correlation = mixed / std::sqrt(fitSquares * dataSquares);
    quality = correlation * correlation;
    return true;
}

// c holds six coefficients from index 0.
void quadricToPeakModel(const float* c, float* model) {
    const float x0 = -c[1] / (2.0f * c[4]);
    const float y0 = -c[2] / (2.0f * c[5]);
    const float k = c[4] * (x0 * x0) + c[5] * (y0 * y0);
    const float sum = c[0] + std::sqrt(c[0] * c[0] - 4.0f * k);
    model[0] = static_cast<float>(sum * 0.5);
    model[1] = c[1] / (2.0f * model[0] * x0);
    model[2] = c[2] / (2.0f * model[0] * y0);
    model[3] = -c[3] / model[0];
    model[4] = x0;
    model[5] = y0;
}

}  // namespace

int doSurfaceFitUsingGeneralFormula(float* model, int, float& quality, const float* image, int width, int height,
                                    float* coefficients, float* chiSquare) {
    float c[7];
    if (!fitPixels(image, width, height, 6, c, quality, chiSquare))
        return 0;
    quadricToPeakModel(c + 1, model);
    const float table[9] = {c[1], c[3], c[6], c[2], c[4], 0.0f, c[5], 0.0f, 0.0f};
    std::copy(table, table + 9, coefficients);
    return 0;
}

int doSurfaceFitUsingCubFormula(float* model, int n, float& quality, const float* image, int width, int height,
                                float* coefficients, float* chiSquare) {
    float c[11];
    if (!fitPixels(image, width, height, 10, c, quality, chiSquare))
        return 0;
    quadricToPeakModel(c + 1, model);
    std::copy(c + 1, c + 1 + n, coefficients);
    return 0;
}

namespace {

float sumOf(const float* values, int count) {
    float sum = 0.0f;
    for (int i = 0; i < count; ++i)
        sum += values[i];
    return sum;
}

constexpr int kMaxPowers = 20;

// A polynomial in the offset from the mean of the samples: its power coefficients, its values at the samples and the
// sum of their squares.
struct Polynomial {
    std::vector<double> power;
    std::vector<double> at;
    double squares = 0;
};

double divided(double sum, double squares) {
    return squares == 0 ? sum : sum / squares;
}

// Every polynomial is (offset - alpha) times the last one less beta times the one before.
std::vector<Polynomial> orthogonalPolynomials(const std::vector<double>& offsets, int count) {
    const std::size_t n = offsets.size();
    Polynomial before{std::vector<double>(kMaxPowers + 1, 0.0), std::vector<double>(n, 0.0)};
    Polynomial last = before;
    last.power[0] = 1;
    last.at.assign(n, 1.0);
    std::vector<Polynomial> found;
    for (int k = 0; k < count; ++k) {
        double moment = 0;
        for (std::size_t i = 0; i < n; ++i) {
            last.squares += last.at[i] * last.at[i];
            moment += offsets[i] * last.at[i] * last.at[i];
        }
        found.push_back(last);
        const double alpha = divided(moment, last.squares);
        const double beta = k > 0 ? divided(last.squares, before.squares) : 0;
        Polynomial next = before;
        next.squares = 0;
        for (int d = 0; d <= k + 1; ++d)
            next.power[d] = (d > 0 ? last.power[d - 1] : 0) - alpha * last.power[d] - beta * before.power[d];
        for (std::size_t i = 0; i < n; ++i)
            next.at[i] = (offsets[i] - alpha) * last.at[i] - beta * before.at[i];
        before = std::exchange(last, next);
    }
    return found;
}

std::vector<double> offsetsFromMean(const float* values, int count) {
    std::vector<double> offsets(values, values + count);
    const double mean = std::accumulate(offsets.begin(), offsets.end(), 0.0) / count;
    for (double& offset : offsets)
        offset -= mean;
    return offsets;
}

// In double precision until the very end: single precision stops counting long before the pixels of an image end.
struct ResidualSums {
    double squares = 0;
    double magnitudes = 0;
    double largest = 0;

    void add(double residual) {
        squares += residual * residual;
        magnitudes += std::fabs(residual);
        if (std::fabs(residual) > largest)
            largest = std::fabs(residual);
    }
    void write(float* dt) const {
        dt[0] = static_cast<float>(squares);
        dt[1] = static_cast<float>(magnitudes);
        dt[2] = static_cast<float>(largest);
    }
};

double fittedAt(const float (*a)[3], int p, int q, double u, double v) {
    double fitted = 0;
    for (int k = p - 1; k >= 0; --k) {
        double inner = 0;
        for (int l = q - 1; l >= 0; --l)
            inner = inner * v + a[k][l];
        fitted = fitted * u + inner;
    }
    return fitted;
}

ResidualSums fitGrid(const float* x, const float* y, const float* const* z, float (*a)[3], int n, int m, int p, int q) {
    for (int i = 0; i < p; ++i)
        std::fill(a[i], a[i] + q, 0.0f);
    const int powersOfX = std::min({p, n, kMaxPowers});
    const int powersOfY = std::min({q, m, kMaxPowers});
    const std::vector<double> u = offsetsFromMean(x, n);
    const std::vector<double> v = offsetsFromMean(y, m);
    std::vector<std::vector<double>> power(powersOfX, std::vector<double>(powersOfY, 0.0));
    std::vector<double> projected(m);
    const double base = z[0][0];  // a constant surface has no curvature, not even by rounding
    for (const Polynomial& f : orthogonalPolynomials(u, powersOfX)) {
        for (int j = 0; j < m; ++j) {
            double sum = 0;
            for (int i = 0; i < n; ++i)
                sum += (z[i][j] - base) * f.at[i];
            projected[j] = divided(sum, f.squares);
        }
        for (const Polynomial& g : orthogonalPolynomials(v, powersOfY)) {
            const double sum = std::inner_product(projected.begin(), projected.end(), g.at.begin(), 0.0);
            for (int i = 0; i < powersOfX; ++i) {
                for (int j = 0; j < powersOfY; ++j)
                    power[i][j] += divided(sum, g.squares) * f.power[i] * g.power[j];
            }
        }
    }
    power[0][0] += base;
    for (int i = 0; i < powersOfX; ++i)
        std::copy(power[i].begin(), power[i].end(), a[i]);
    ResidualSums sums;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < m; ++j)
            sums.add(fittedAt(a, powersOfX, q, u[i], v[j]) - z[i][j]);
    }
    return sums;
}

// a holds 3 x 3 coefficients of offsets from the mean row and column.
void centredFitToPeakModel(const float* a, float meanRow, float meanColumn, float* model) {
    const float dx = -a[3] / (2.0f * a[6]);
    const float dy = -a[1] / (2.0f * a[2]);
    model[0] = a[0] - a[6] * (dx * dx) - a[2] * (dy * dy);
    model[1] = -a[6] / model[0];
    model[2] = -a[2] / model[0];
    model[3] = -a[4] / model[0];
    model[4] = meanRow + dx;
    model[5] = meanColumn + dy;
}

}  // namespace

void FitSurfaceLeastSquares(const float* x, const float* y, const float* const* z, float (*a)[3], float* dt, int n,
                            int m, int p, int q) {
    fitGrid(x, y, z, a, n, m, p, q);
    const std::vector<double> u = offsetsFromMean(x, n);
    const std::vector<double> v = offsetsFromMean(y, m);
    std::fill(dt, dt + 3, 0.0f);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < m; ++j) {
            const auto fitted = static_cast<float>(fittedAt(a, std::min({p, n, kMaxPowers}), q, u[i], v[j]));
            const float residual = fitted - z[i][j];
            dt[0] += residual * residual;
            dt[1] += std::fabs(residual);
            dt[2] = largerOf(std::fabs(residual), dt[2]);
        }
    }
}

int doSurfaceFit(float* model, int, float& quality, const float* image, int width, int height, float* coefficients,
                 float* residuals) {
    Row x(height);
    Row y(width);
    std::iota(x.begin(), x.end(), 0.0f);
    std::iota(y.begin(), y.end(), 0.0f);
    const float meanX = sumOf(x.data(), height) / static_cast<float>(height);
    const float meanY = sumOf(y.data(), width) / static_cast<float>(width);
    std::vector<Row> rows;
    std::vector<const float*> z;
    for (int row = 0; row < height; ++row)
        rows.emplace_back(image + row * width, image + (row + 1) * width);
    for (const Row& row : rows)
        z.push_back(row.data());
    float a[3][3];
    ResidualSums sums = fitGrid(x.data(), y.data(), z.data(), a, height, width, 3, 3);
    std::memcpy(coefficients, a, sizeof a);

    centredFitToPeakModel(coefficients, meanX, meanY, model);

    const auto fittedAt = [&](int row, int col) {
        const double u = x[row] - meanX;
        const double v = y[col] - meanY;
        double sum = 0;
        double powerOfU = 1;
        for (int i = 0; i < 3; ++i, powerOfU *= u) {
            double powerOfV = 1;
            for (int j = 0; j < 3; ++j, powerOfV *= v)
                sum += a[i][j] * powerOfU * powerOfV;
        }
        return sum;
    };
    const int count = width * height;
    double fitMean = 0;
    for (int k = 0; k < count; ++k)
        fitMean += fittedAt(k / width, k % width);
    fitMean /= count;
    const double imageMean = std::accumulate(image, image + count, 0.0) / count;
    double mixed = 0;
    double fitSquares = 0;
    double imageSquares = 0;
    for (int k = 0; k < count; ++k) {
        const double f = fittedAt(k / width, k % width);
        mixed += (f - fitMean) * (image[k] - imageMean);
        fitSquares += (f - fitMean) * (f - fitMean);
        imageSquares += (image[k] - imageMean) * (image[k] - imageMean);
        sums.add(f - image[k]);
    }
    for (int k = 0; k < count; ++k)
        sums.add(fittedAt(k / width, k % width) - image[k]);
    sums.write(residuals);
    const double correlation = mixed / std::sqrt(imageSquares * fitSquares);
    quality = static_cast<float>(correlation * correlation);
    return 0;
}

}  // namespace qx::plain
