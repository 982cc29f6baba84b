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

constexpr int kTableSide = 3;
using Table = float[kTableSide][kTableSide];

// Fits the first `terms` functions of a basis to every pixel and writes the outputs that the fits have in common.
// False, with nothing written, when there is no fit.
bool fitBasis(const float* image, int width, int height, int terms, qx::FitBasis basis, float* coefficients,
              float& quality, float& chiSquare) {
    if (!qx::isImageSize(width, height))
        return false;
    const int count = width * height;
    const auto pixels = static_cast<std::size_t>(count);
    const auto columns = static_cast<std::size_t>(terms);
    qx::Scratch<float> abscissas(pixels);
    qx::Scratch<float> sigmas(pixels);
    qx::Scratch<float> u(pixels * columns);
    qx::Scratch<float> small(columns * columns + columns);
    if (!abscissas || !sigmas || !u || !small)
        return false;
    for (std::size_t k = 0; k < pixels; ++k)
        abscissas[k] = static_cast<float>(k + 1);
    std::fill_n(sigmas.data(), pixels, 1.0f);
    const qx::FitSamples samples{abscissas.data(), image, sigmas.data(), count};
    const qx::FitWorkspace workspace{
        {u.data(), count, terms}, {small.data(), terms, terms}, small.data() + columns * columns};
    return qx::svdfit(samples, width, height, coefficients, workspace, chiSquare, basis, quality) == StatusOk;
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

// Residuals of a fit, summed in the order of the pixels: squares, magnitudes and the largest magnitude.
struct Residuals {
    float squares;
    float magnitudes;
    float largest;

    void add(float residual) {
        const float magnitude = std::fabs(residual);
        squares += residual * residual;
        magnitudes += magnitude;
        largest = std::max(largest, magnitude);
    }
};

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
    FittedImage(const qx::ImageView<const float>& image, const Table& a, const Means& means) noexcept
        : image_(image), a_(a), means_(means), rowsAtOnce_(std::clamp(kValuesAtOnce / image.width, 1, image.height)),
          columns_(static_cast<std::size_t>(image.width)),
          fitted_(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(rowsAtOnce_)) {
        if (!columns_)
            return;
        for (int c = 0; c < image.width; ++c)
            columns_[static_cast<std::size_t>(c)] = static_cast<float>(c) - means.column;
    }

    explicit operator bool() const noexcept { return columns_ && fitted_; }

    // Squared correlation with the image. Adds to the sums over the residuals.
    float quality(Residuals& sums) noexcept {
        float fitSum = 0.0f;
        float dataSum = 0.0f;
        visitRows([&](const float* fitted, const float* data, int count) {
            for (int i = 0; i < count; ++i) {
                fitSum += fitted[i];
                dataSum += data[i];
            }
        });
        const auto size = static_cast<float>(image_.width * image_.height);
        const float fitMean = fitSum / size;
        const float dataMean = dataSum / size;
        float mixed = 0.0f;
        float fitSquares = 0.0f;
        float dataSquares = 0.0f;
        Residuals residuals = sums;
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
        for (int r = 0; r < rows; ++r)
            evaluateRow(a_, static_cast<float>(first + r) - means_.row, columns_.data(), image_.width,
                        fitted_.data() + static_cast<std::ptrdiff_t>(r) * image_.width);
    }

    qx::ImageView<const float> image_;
    const Table& a_;
    Means means_;
    int rowsAtOnce_;
    qx::Scratch<float> columns_;
    qx::Scratch<float> fitted_;
    int evaluated_ = -1;
};

// The peak model of a surface in (row - mean row) and (column - mean column).
void peakOf(const Table& a, const Means& means, float* model) {
    const float dx = -a[1][0] / (2.0f * a[2][0]);
    const float dy = -a[0][1] / (2.0f * a[0][2]);
    const float peak = a[0][0] - a[2][0] * (dx * dx) - a[0][2] * (dy * dy);
    model[0] = peak;
    model[1] = -a[2][0] / peak;
    model[2] = -a[0][2] / peak;
    model[3] = -a[1][1] / peak;
    model[4] = means.row + dx;
    model[5] = means.column + dy;
}

void logTable(const Table& a) {
    WriteLogFile(LogModuleUtils, LogInfo, "a= ", kLogNoValue);
    for (const auto& row : a)
        qx::logInfo(kLogNoValue, "%f\t%f\t%f", static_cast<double>(row[0]), static_cast<double>(row[1]),
                    static_cast<double>(row[2]));
}

void printFit(const Table& a, const float* dt) {
    qx::printConsole("a=\n");
    for (const auto& row : a) {
        for (const float value : row)
            qx::printConsole("%f\t", static_cast<double>(value));
        qx::printConsole("\n");
    }
    qx::printConsole("dt=\n");
    for (int i = 0; i < kTableSide; ++i)
        qx::printConsole("%f\t", static_cast<double>(dt[i]));
    qx::printConsole("\n");
}

void printModel(const float* model) {
    qx::printConsole("fit formual:\n");
    qx::printConsole("F(x,y)=%f[1-%f(x-%f)^2-%f(y-%f)^2-%fxy]\n", static_cast<double>(model[0]),
                     static_cast<double>(model[1]), static_cast<double>(model[4]), static_cast<double>(model[2]),
                     static_cast<double>(model[5]), static_cast<double>(model[3]));
}

}  // namespace

int doSurfaceFit(float* model, int, float& quality, const float* image, int width, int height, float* coefficients,
                 float* residuals) {
    if (anyNull({model, image, coefficients, residuals}) || !qx::isImageSize(width, height))
        return StatusOk;
    qx::Scratch<float> x(static_cast<std::size_t>(height));
    qx::Scratch<float> y(static_cast<std::size_t>(width));
    qx::Scratch<const float*> rows(static_cast<std::size_t>(height));
    if (!x || !y || !rows)
        return StatusOk;
    for (int r = 0; r < height; ++r) {
        x[static_cast<std::size_t>(r)] = static_cast<float>(r);
        rows[static_cast<std::size_t>(r)] = image + static_cast<std::ptrdiff_t>(r) * width;
    }
    for (int c = 0; c < width; ++c)
        y[static_cast<std::size_t>(c)] = static_cast<float>(c);
    Table a{};
    std::array<float, kTableSide> dt{};
    if (!qx::fitSurfaceGrid(x.data(), y.data(), rows.data(), a, dt.data(), height, width, kTableSide, kTableSide))
        return StatusOk;

    const Means means{meanOfIndices(height), meanOfIndices(width)};
    FittedImage fitted({image, width, height}, a, means);
    if (!fitted)
        return StatusOk;
    peakOf(a, means, model);
    logTable(a);
    printFit(a, dt.data());
    std::copy_n(&a[0][0], kTableSide * kTableSide, coefficients);
    Residuals sums{dt[0], dt[1], dt[2]};
    quality = fitted.quality(sums);
    std::ranges::copy(std::array{sums.squares, sums.magnitudes, sums.largest}, residuals);
    printModel(model);
    return StatusOk;
}

int doSurfaceFitUsingGeneralFormula(float* model, int, float& quality, const float* image, int width, int height,
                                    float* coefficients, float* chiSquare) {
    std::array<float, kQuadraticTerms> c{};
    if (anyNull({model, image, coefficients, chiSquare}) ||
        !fitBasis(image, width, height, kQuadraticTerms, qx::quadraticBasis, c.data(), quality, *chiSquare))
        return StatusOk;
    qx::quadricToPeakModel(c.data(), model);
    const Table table = {{c[0], c[2], c[5]}, {c[1], c[3], 0.0f}, {c[4], 0.0f, 0.0f}};
    std::copy_n(&table[0][0], kTableSide * kTableSide, coefficients);
    return StatusOk;
}

int doSurfaceFitUsingCubFormula(float* model, int n, float& quality, const float* image, int width, int height,
                                float* coefficients, float* chiSquare) {
    std::array<float, kCubicTerms> c{};
    if (anyNull({model, image, coefficients, chiSquare}) ||
        !fitBasis(image, width, height, kCubicTerms, qx::cubicBasis, c.data(), quality, *chiSquare))
        return StatusOk;
    qx::quadricToPeakModel(c.data(), model);
    std::copy_n(c.data(), std::clamp(n, 0, kCubicTerms), coefficients);
    return StatusOk;
}
