#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "numerics/fits/LinearLeastSquares.h"
#include "numerics/fits/OrthogonalSurfaceFit.h"
#include "numerics/fits/SurfaceModel.h"
#include "platform/Console.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace {

using qx::kCubicTerms;
using qx::kQuadraticTerms;
using Image = qx::ImageView<const float>;

constexpr int kTableSide = qx::kPowersOfY;
using Table = float[kTableSide][kTableSide];

// Fits the first `terms` functions of a basis to every pixel and writes the outputs that the fits have in common.
// False, with nothing written, when there is no fit.
bool fitBasis(Image image, int terms, qx::FitBasis basis, float* coefficients, float& quality, float& chiSquare) {
    if (!qx::isImageSize(image.width, image.height))
        return false;
    const int count = image.pixels();
    qx::Scratch<float> abscissas(count);
    qx::Scratch<float> sigmas(count);
    qx::Scratch<float> u(terms, count);
    qx::Scratch<float> v(terms, terms);
    qx::Scratch<float> w(terms);
    if (!abscissas || !sigmas || !u || !v || !w)
        return false;
    for (int k = 0; k < count; ++k)
        abscissas[k] = static_cast<float>(k + 1);
    std::fill_n(sigmas.data(), count, 1.0f);
    const qx::FitSamples samples{abscissas.data(), image.data, sigmas.data(), count};
    const qx::FitWorkspace workspace{{u.data(), count, terms}, {v.data(), terms, terms}, w.data()};
    return qx::svdfit(samples, image.width, image.height, coefficients, workspace, chiSquare, basis, quality) ==
           StatusOk;
}

bool anyNull(std::initializer_list<const void*> pointers) {
    return std::ranges::find(pointers, nullptr) != pointers.end();
}

struct Means {
    float row;
    float column;
};

float meanOfIndices(int count) {
    float sum = 0.0f;
    for (int i = 0; i < count; ++i)
        sum += static_cast<float>(i);
    return sum / static_cast<float>(count);
}

// The values of a row of the fitted surface.
void evaluateRow(const Table& a, float x, const float* y, int count, float* __restrict fitted) {
    std::fill_n(fitted, count, 0.0f);
    float powerOfX = 1.0f;
    for (const auto& row : a) {
        const float c0 = row[0] * powerOfX;
        const float c1 = row[1] * powerOfX;
        const float c2 = row[2] * powerOfX;
        for (int c = 0; c < count; ++c)
            fitted[c] += c0 + c1 * y[c] + c2 * y[c] * y[c];
        powerOfX *= x;
    }
}

// A fitted surface beside the image, some rows at a time: all of them when the image is small.
class FittedImage {
public:
    FittedImage(const Image& image, const Table& a, const Means& means) noexcept
        : image_(image), a_(a), means_(means), rowsAtOnce_(std::clamp(kValuesAtOnce / image.width, 1, image.height)),
          columns_(image.width), fitted_(rowsAtOnce_, image.width) {
        if (!columns_)
            return;
        for (int c = 0; c < image.width; ++c)
            columns_[c] = static_cast<float>(c) - means.column;
    }

    explicit operator bool() const noexcept { return columns_ && fitted_; }

    // Squared correlation with the image. Adds to the sums over the residuals.
    float quality(qx::SurfaceResiduals& sums) noexcept {
        float fitSum = 0.0f;
        float dataSum = 0.0f;
        visitRows([&](const float* fitted, const float* data, int count) {
            for (int i = 0; i < count; ++i) {
                fitSum += fitted[i];
                dataSum += data[i];
            }
        });
        const auto size = static_cast<float>(image_.pixels());
        const float fitMean = fitSum / size;
        const float dataMean = dataSum / size;
        float mixed = 0.0f;
        float fitSquares = 0.0f;
        float dataSquares = 0.0f;
        qx::SurfaceResiduals residuals = sums;
        visitRows([&](const float* fitted, const float* data, int count) {
            for (int i = 0; i < count; ++i) {
                const float fitOffset = fitted[i] - fitMean;
                const float dataOffset = data[i] - dataMean;
                mixed += fitOffset * dataOffset;
                fitSquares += fitOffset * fitOffset;
                dataSquares += dataOffset * dataOffset;
                residuals.add(fitted[i] - data[i]);
            }
        });
        // Kept: a third pass over the residuals, into the same sums. Their largest is known by then.
        visitRows([&](const float* fitted, const float* data, int count) {
            for (int i = 0; i < count; ++i) {
                const float residual = fitted[i] - data[i];
                residuals.squares += residual * residual;
                residuals.magnitudes += std::fabs(residual);
            }
        });
        sums = residuals;
        const float r = mixed / std::sqrt(dataSquares * fitSquares);
        return r * r;
    }

private:
    static constexpr int kValuesAtOnce = 1 << 16;

    template <class Visit>
    void visitRows(Visit visit) noexcept {
        for (int row = 0; row < image_.height; row += rowsAtOnce_) {
            const int rows = std::min(rowsAtOnce_, image_.height - row);
            evaluateRows(row, rows);
            visit(fitted_.data(), image_.row(row), rows * image_.width);
        }
    }

    void evaluateRows(int first, int rows) noexcept {
        if (first == evaluated_)
            return;
        evaluated_ = first;
        const qx::ImageView<float> fitted{fitted_.data(), image_.width, rows};
        for (int r = 0; r < rows; ++r)
            evaluateRow(a_, static_cast<float>(first + r) - means_.row, columns_.data(), image_.width, fitted.row(r));
    }

    Image image_;
    const Table& a_;
    Means means_;
    int rowsAtOnce_;
    qx::Scratch<float> columns_;
    qx::Scratch<float> fitted_;
    int evaluated_ = -1;
};

// The peak model of a surface in (row - mean row) and (column - mean column).
// Kept: x counts rows here, from the first one on, and columns in the two formulas, from the middle pixel on.
qx::PeakModel peakOf(const Table& a, const Means& means) {
    const float dx = -a[1][0] / (2.0f * a[2][0]);
    const float dy = -a[0][1] / (2.0f * a[0][2]);
    const float peak = a[0][0] - a[2][0] * (dx * dx) - a[0][2] * (dy * dy);
    return {peak, -a[2][0] / peak, -a[0][2] / peak, -a[1][1] / peak, means.row + dx, means.column + dy};
}

void logRow(double first, double second, double third) {
    qx::logInfo(kLogNoValue, "%f\t%f\t%f", first, second, third);
}

void logTable(const Table& a) {
    WriteLogFile(LogModuleUtils, LogInfo, "a= ", kLogNoValue);
    for (const auto& row : a)
        logRow(row[0], row[1], row[2]);
}

// Kept: a fit is printed whatever the debug flag.
void printFit(const Table& a, const qx::SurfaceResiduals& residuals) {
    qx::printConsole("a=\n");
    for (const auto& row : a) {
        for (const double value : row)
            qx::printConsole("%f\t", value);
        qx::printConsole("\n");
    }
    qx::printConsole("dt=\n");
    for (const double value : residuals.values())
        qx::printConsole("%f\t", value);
    qx::printConsole("\n");
}

void printModel(double a, double b, double c, double d, double x0, double y0) {
    qx::printConsole("fit formual:\n");
    qx::printConsole("F(x,y)=%f[1-%f(x-%f)^2-%f(y-%f)^2-%fxy]\n", a, b, x0, c, y0, d);
}

}  // namespace

// Kept: all fits return 0, whether there is a fit or not.

int doSurfaceFit(float* model, int, float& quality, const float* image, int width, int height, float* coefficients,
                 float* residuals) {
    const Image view{image, width, height};
    if (anyNull({model, image, coefficients, residuals}) || !view.exists())
        return StatusOk;
    qx::Scratch<float> x(height);
    qx::Scratch<float> y(width);
    qx::Scratch<const float*> rows(height);
    if (!x || !y || !rows)
        return StatusOk;
    for (int r = 0; r < height; ++r) {
        x[r] = static_cast<float>(r);
        rows[r] = view.row(r);
    }
    for (int c = 0; c < width; ++c)
        y[c] = static_cast<float>(c);
    Table a{};
    qx::SurfaceResiduals sums;
    if (!qx::fitSurfaceGrid({x.data(), y.data(), rows.data(), height, width}, kTableSide, kTableSide, a, sums))
        return StatusOk;

    const Means means{meanOfIndices(height), meanOfIndices(width)};
    FittedImage fitted(view, a, means);
    if (!fitted)
        return StatusOk;
    const qx::PeakModel peak = peakOf(a, means);
    peak.store(model);
    logTable(a);
    printFit(a, sums);
    std::copy_n(&a[0][0], kTableSide * kTableSide, coefficients);
    quality = fitted.quality(sums);
    std::ranges::copy(sums.values(), residuals);
    printModel(peak.a, peak.b, peak.c, peak.d, peak.x0, peak.y0);
    return StatusOk;
}

int doSurfaceFitUsingGeneralFormula(float* model, int, float& quality, const float* image, int width, int height,
                                    float* coefficients, float* chiSquare) {
    std::array<float, kQuadraticTerms> c{};
    if (anyNull({model, image, coefficients, chiSquare}) ||
        !fitBasis({image, width, height}, kQuadraticTerms, qx::quadraticBasis, c.data(), quality, *chiSquare))
        return StatusOk;
    qx::quadricToPeakModel(c.data(), model);
    const Table table = {{c[qx::kTerm1], c[qx::kTermY], c[qx::kTermYY]},
                         {c[qx::kTermX], c[qx::kTermXY], 0.0f},
                         {c[qx::kTermXX], 0.0f, 0.0f}};
    std::copy_n(&table[0][0], kTableSide * kTableSide, coefficients);
    return StatusOk;
}

int doSurfaceFitUsingCubFormula(float* model, int n, float& quality, const float* image, int width, int height,
                                float* coefficients, float* chiSquare) {
    std::array<float, kCubicTerms> c{};
    if (anyNull({model, image, coefficients, chiSquare}) ||
        !fitBasis({image, width, height}, kCubicTerms, qx::cubicBasis, c.data(), quality, *chiSquare))
        return StatusOk;
    qx::quadricToPeakModel(c.data(), model);
    std::copy_n(c.data(), std::clamp(n, 0, kCubicTerms), coefficients);
    return StatusOk;
}
