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

// The squared correlation of an image with its fit.
float qualityOf(const qx::SurfaceSums& sums) {
    const double r = sums.mixed / std::sqrt(sums.sampleSquares * sums.fitSquares);
    return static_cast<float>(r * r);
}

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
void printFit(const Table& a, const qx::SurfaceSums& sums) {
    qx::printConsole("a=\n");
    for (const auto& row : a) {
        for (const double value : row)
            qx::printConsole("%f\t", value);
        qx::printConsole("\n");
    }
    qx::printConsole("dt=\n");
    for (const double value : sums.ofPasses(1))
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
    qx::SurfaceSums sums;
    if (!qx::fitSurfaceGrid({x.data(), y.data(), rows.data(), height, width}, kTableSide, kTableSide, a, &sums))
        return StatusOk;

    const Means means{meanOfIndices(height), meanOfIndices(width)};
    const qx::PeakModel peak = peakOf(a, means);
    peak.store(model);
    logTable(a);
    printFit(a, sums);
    std::copy_n(&a[0][0], kTableSide * kTableSide, coefficients);
    quality = qualityOf(sums);
    // Kept: the sums are those of three passes over the image.
    std::ranges::copy(sums.ofPasses(3), residuals);
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
