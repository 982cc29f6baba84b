#include "quality/exposure/TubeCentre.h"

#include "QxUtils/Correction.h"
#include "QxUtils/Foundation.h"
#include "QxUtils/Numerics.h"
#include "QxUtils/StatusCode.h"
#include "correction/afe/AfeBalance.h"
#include "correction/afe/AfeMeasurement.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "platform/Console.h"
#include "quality/exposure/BalancedMedians.h"
#include "quality/exposure/ExposureRows.h"
#include "quality/exposure/Symmetry.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>
#include <optional>

namespace qx {
namespace {

constexpr double kBlockPixels = kBlockSide;

// Block medians, and those that are left inside the border; test before use.
class Illumination {
public:
    explicit Illumination(const Exposure& exposure) noexcept
        : blocks_(exposure.blockColumns(), exposure.blockRows()),
          inner_(exposure.blockColumns() - 2 * kIlluminationBorder, exposure.blockRows() - 2 * kIlluminationBorder) {}

    explicit operator bool() const noexcept { return blocks_ && inner_; }

    ImageView<float> blocks() noexcept { return blocks_.view(); }
    void cut() noexcept {
        const ImageView<float> blocks = blocks_.view();
        cutBinningImage(inner_.view().data, blocks.data, blocks.width, blocks.height, kIlluminationBorder);
    }
    ImageView<const float> inner() const noexcept { return inner_.view(); }

private:
    ScratchImage<float> blocks_;
    ScratchImage<float> inner_;
};

// The vertex of the parabola through count values, in full-resolution pixels. Abscissas count from the middle: the fit
// works in single precision.
template <class ValueAt>
int vertexOf(int count, ValueAt valueAt, Scratch<std::array<float, 2>>& pairs, Scratch<const float*>& points) {
    const int middle = count / 2;
    for (int i = 0; i < count; ++i) {
        const float abscissa = i - middle;
        pairs[i] = {abscissa, valueAt(i)};
        points[i] = pairs[i].data();
    }
    std::array<float, 3> coefficients{};
    polyFit(coefficients.data(), points.data(), count, 2);
    const auto [constant, slope, curvature] = coefficients;
    const double vertex = static_cast<double>(-slope / (2.0f * curvature));
    return truncateToInt((vertex + middle + kIlluminationBorder + 0.5) * kBlockPixels);
}

int fitVertices(const ImageView<const float>& inner, SurfaceFitResult& result) {
    const int longest = std::max(inner.width, inner.height);
    Scratch<std::array<float, 2>> pairs(longest);
    Scratch<const float*> points(longest);
    if (!pairs || !points)
        return StatusAllocationFailed;
    const auto alongRow = [&](int x) { return inner.at(inner.height / 2, x); };
    const auto alongColumn = [&](int y) { return inner.at(y, inner.width / 2); };
    result.x0 = vertexOf(inner.width, alongRow, pairs, points);
    result.y0 = vertexOf(inner.height, alongColumn, pairs, points);
    return StatusOk;
}

// A surface of second order in x and y: coefficients of 1, y and y^2, of x times these, and of x^2 times these.
class FittedSurface {
public:
    float* coefficients() noexcept { return coefficients_.data(); }

    float at(float x, float y) const noexcept {
        const auto inY = [&](const std::array<float, 3>& c) { return c[0] + c[1] * y + c[2] * (y * y); };
        return inY(row(0)) + x * inY(row(1)) + x * x * inY(row(2));
    }

private:
    std::array<float, 3> row(int powerOfX) const noexcept {
        const float* const first = &coefficients_[3 * powerOfX];
        return {first[0], first[1], first[2]};
    }

    std::array<float, 9> coefficients_{};
};

// Where the fitted surface is highest, on the grid of the blocks.
void logHighestBlock(const FittedSurface& surface, int width, int height) {
    float highest = 0.0f;
    int column = 0;
    int row = 0;
    // Kept: columns come before rows.
    for (int x = 0; x < width; ++x) {
        for (int y = 0; y < height; ++y) {
            const float value = surface.at(x - width / 2, y - height / 2);
            if (value > highest) {
                highest = value;
                column = x;
                row = y;
            }
        }
    }
    logInfo(kLogNoValue, "tube center center calculated by fit image: x0=%d,y0=%d",
            (column + kIlluminationBorder) * kBlockSide, (row + kIlluminationBorder) * kBlockSide);
}

// From an offset in blocks to full-resolution pixels.
int positionOf(int blocks, float offset) noexcept {
    return truncateToInt((static_cast<double>(blocks / 2 + offset) + kIlluminationBorder) * kBlockPixels);
}

// Fits the surface and fills the record from its model.
FittedSurface fitPeak(const ImageView<const float>& inner, SurfaceFitResult& result) {
    std::array<float, 6> model{};
    FittedSurface surface;
    float quality = 0.0f;
    float chiSquare = 0.0f;
    doSurfaceFitUsingGeneralFormula(model.data(), 0, quality, inner.data, inner.width, inner.height,
                                    surface.coefficients(), &chiSquare);
    const auto [a, b, c, d, offsetX, offsetY] = model;
    result.x0 = positionOf(inner.width, offsetX);
    result.y0 = positionOf(inner.height, offsetY);
    result.a = a;
    result.b = b;
    result.c = c;
    result.d = d;
    return surface;
}

void logPeak(const ImageView<const float>& inner, SurfaceFitResult& result) {
    logHighestBlock(fitPeak(inner, result), inner.width, inner.height);
    logInfo(kLogNoValue, "tube center center calculated by fit coes: x0=%d,y0=%d", result.x0, result.y0);
    logInfo(kLogNoValue, "a=%f,b=%f,c=%f,d=%f,x0=%d,y0=%d", static_cast<double>(result.a),
            static_cast<double>(result.b), static_cast<double>(result.c), static_cast<double>(result.d), result.x0,
            result.y0);
}

// Balances the AFE blocks and takes the medians of the blocks. Kept: bad columns at their edges stay.
int binBalanced(const SurveyedExposure& surveyed, Illumination& illumination) {
    ExposureRows<raisedDifference> rows(surveyed.exposure);
    if (!rows)
        return StatusAllocationFailed;
    const auto passed = [&](const AfeBlocks& blocks) { return surveyed.survey.ofRaised(blocks); };
    return balanceAfes(&rows, passed, [&](const AfeMeasurement& measurement) {
        const Balance balance{measurement.columnGains(), {}};
        balancedMedians<raisedDifference>(surveyed.exposure, balance, surveyed.medians, illumination.blocks());
        return StatusOk;
    });
}

// Hands the balanced block medians inside the border to `use`, which returns a status.
template <class Use>
int withIllumination(const SurveyedExposure& surveyed, Use use) {
    if (!showsIllumination(surveyed.exposure))
        return StatusWrongParameter;
    Illumination illumination(surveyed.exposure);
    if (!illumination)
        return StatusAllocationFailed;
    const int status = binBalanced(surveyed, illumination);
    if (status != StatusOk)
        return status;
    illumination.cut();
    return use(illumination.inner());
}

int examineIllumination(const ImageView<const float>& inner, SurfaceFitResult& result) {
    const int status = checkSymmetry(inner, result.asymDegree);
    if (status != StatusOk)
        logInfo(status, "checkSymmetry failed, asymDegree=%f", static_cast<double>(result.asymDegree));
    else
        logPeak(inner, result);
    return status;
}

}  // namespace

bool showsIllumination(const Exposure& exposure) noexcept {
    return exposure.blockColumns() >= kIlluminationBlocks && exposure.blockRows() >= kIlluminationBlocks;
}

int fitTubeCentre(const SurveyedExposure& surveyed, SurfaceFitResult& result) {
    const Exposure& exposure = surveyed.exposure;
    const AfeBlocks blocks{exposure.width(), detectorAfeWidth()};
    if (!showsIllumination(exposure))
        return StatusWrongParameter;
    if (!measurable(blocks)) {
        printConsole("calcuate ratio between neighbour AFE fail during calibration!\n");
        return StatusWrongParameter;
    }
    ExposureRows<signedDifference> rows(exposure);
    Illumination illumination(exposure);
    std::optional<AfeMeasurement> own;
    AfeMeasurement* const passed = surveyed.survey.ofSigned(blocks);
    AfeMeasurement& measurement = passed != nullptr ? *passed : own.emplace(blocks, exposure.height());
    if (!rows || !illumination || !measurement)
        return StatusAllocationFailed;
    const int status = measurement.measure(rows);
    if (status != StatusOk)
        return status;
    const Balance balance{measurement.columnGains(), measurement.replacements()};
    balancedMedians<signedDifference>(exposure, balance, surveyed.medians, illumination.blocks());
    illumination.cut();
    return fitVertices(illumination.inner(), result);
}

int measureCorners(const SurveyedExposure& surveyed, CornerSymmetry& corners) {
    return withIllumination(surveyed, [&](const ImageView<const float>& inner) {
        corners = measureSymmetry(inner);
        return StatusOk;
    });
}

int checkFirstImgForFactoryCalibration(const SurveyedExposure& surveyed, SurfaceFitResult& result) {
    LoggedOperation operation("checkFirstImgForFactoryCalibration", " terminates with a return value ");
    // Kept: asked for, and not used.
    getGainImgDir();
    return operation.end(withIllumination(
        surveyed, [&](const ImageView<const float>& inner) { return examineIllumination(inner, result); }));
}

}  // namespace qx
