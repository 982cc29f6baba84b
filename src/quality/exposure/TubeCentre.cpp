#include "quality/exposure/TubeCentre.h"

#include "QxUtils/Correction.h"
#include "QxUtils/Foundation.h"
#include "QxUtils/Numerics.h"
#include "QxUtils/StatusCode.h"
#include "correction/afe/AfeBalance.h"
#include "correction/afe/AfeMeasurement.h"
#include "correction/afe/BinnedImage.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "platform/Console.h"
#include "quality/exposure/Symmetry.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace qx {
namespace {

constexpr double kBlockPixels = kBlockSide;

float signedDifference(WORD bright, WORD dark) noexcept {
    return static_cast<float>(bright) - static_cast<float>(dark);
}

// A difference that is not above 0 has no signal.
float raisedDifference(WORD bright, WORD dark) noexcept {
    return bright > dark ? static_cast<float>(bright - dark) : kNoSignal;
}

// Block medians, and those that are left inside the border.
class Illumination {
public:
    explicit Illumination(const Exposure& exposure) noexcept
        : columns_(exposure.blockColumns()), rows_(exposure.blockRows()), blocks_(cells(columns_, rows_)),
          inner_(cells(width(), height())) {}

    explicit operator bool() const noexcept { return blocks_ && inner_; }

    ImageView<float> blocks() noexcept { return {blocks_.data(), columns_, rows_}; }
    void cut() noexcept { cutBinningImage(inner_.data(), blocks_.data(), columns_, rows_, kIlluminationBorder); }

    const float* inner() noexcept { return inner_.data(); }
    int width() const noexcept { return columns_ - 2 * kIlluminationBorder; }
    int height() const noexcept { return rows_ - 2 * kIlluminationBorder; }
    float at(int row, int column) noexcept { return inner_[cells(row, width()) + static_cast<std::size_t>(column)]; }

private:
    static std::size_t cells(int a, int b) noexcept {
        return static_cast<std::size_t>(a) * static_cast<std::size_t>(b);
    }

    int columns_;
    int rows_;
    Scratch<float> blocks_;
    Scratch<float> inner_;
};

// The vertex of the parabola through count values, in full-resolution pixels. Abscissas count from the middle: the fit
// works in single precision.
template <class ValueAt>
int vertexOf(int count, ValueAt valueAt, Scratch<float>& pairs, Scratch<const float*>& points) {
    const int middle = count / 2;
    for (int i = 0; i < count; ++i) {
        const auto index = static_cast<std::size_t>(i);
        pairs[2 * index] = static_cast<float>(i - middle);
        pairs[2 * index + 1] = valueAt(i);
        points[index] = pairs.data() + 2 * index;
    }
    std::array<float, 3> c{};
    polyFit(c.data(), points.data(), count, 2);
    const double vertex = static_cast<double>(-c[1] / (2.0f * c[2]));
    return truncateToInt((vertex + middle + kIlluminationBorder + 0.5) * kBlockPixels);
}

int fitVertices(Illumination& illumination, SurfaceFitResult& result) {
    const int width = illumination.width();
    const int height = illumination.height();
    const auto longest = static_cast<std::size_t>(std::max(width, height));
    Scratch<float> pairs(2 * longest);
    Scratch<const float*> points(longest);
    if (!pairs || !points)
        return StatusAllocationFailed;
    result.x0 = vertexOf(
        width, [&](int i) { return illumination.at(height / 2, i); }, pairs, points);
    result.y0 = vertexOf(
        height, [&](int i) { return illumination.at(i, width / 2); }, pairs, points);
    return StatusOk;
}

struct PeakFit {
    std::array<float, 6> model{};
    std::array<float, 9> c{};

    float offsetX() const noexcept { return model[4]; }
    float offsetY() const noexcept { return model[5]; }

    float value(float x, float y) const noexcept {
        return c[0] + c[1] * y + c[2] * (y * y) + x * (c[3] + c[4] * y + c[5] * (y * y)) +
               x * x * (c[6] + c[7] * y + c[8] * (y * y));
    }
};

PeakFit fitPeak(Illumination& illumination) {
    PeakFit fit;
    float quality = 0.0f;
    float chiSquare = 0.0f;
    doSurfaceFitUsingGeneralFormula(fit.model.data(), 0, quality, illumination.inner(), illumination.width(),
                                    illumination.height(), fit.c.data(), &chiSquare);
    return fit;
}

// Where the fitted surface is highest, on the grid of the blocks.
void logHighestBlock(const PeakFit& fit, int width, int height) {
    float highest = 0.0f;
    int column = 0;
    int row = 0;
    for (int x = 0; x < width; ++x) {
        for (int y = 0; y < height; ++y) {
            const float value = fit.value(static_cast<float>(x - width / 2), static_cast<float>(y - height / 2));
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
    return truncateToInt((static_cast<double>(static_cast<float>(blocks / 2) + offset) + kIlluminationBorder) *
                         kBlockPixels);
}

void logPeak(Illumination& illumination, SurfaceFitResult& result) {
    const PeakFit fit = fitPeak(illumination);
    logHighestBlock(fit, illumination.width(), illumination.height());
    result.x0 = positionOf(illumination.width(), fit.offsetX());
    result.y0 = positionOf(illumination.height(), fit.offsetY());
    logInfo(kLogNoValue, "tube center center calculated by fit coes: x0=%d,y0=%d", result.x0, result.y0);
    result.a = fit.model[0];
    result.b = fit.model[1];
    result.c = fit.model[2];
    result.d = fit.model[3];
    logInfo(kLogNoValue, "a=%f,b=%f,c=%f,d=%f,x0=%d,y0=%d", static_cast<double>(result.a),
            static_cast<double>(result.b), static_cast<double>(result.c), static_cast<double>(result.d), result.x0,
            result.y0);
}

// Balances the AFE blocks and takes the medians of the blocks, a strip of rows at a time.
int binBalanced(const Exposure& exposure, Illumination& illumination) {
    ExposureRows<raisedDifference> rows(exposure);
    if (!rows)
        return StatusAllocationFailed;
    return balanceAfes(&rows, [&](const AfeMeasurement& measurement) {
        const auto scale = [&](std::span<float> row) {
            scaleRow(row, measurement.blocks(), measurement.columnGains());
        };
        return binRows(rows, scale, illumination.blocks());
    });
}

int examineIllumination(const Exposure& exposure, SurfaceFitResult& result) {
    if (!showsIllumination(exposure))
        return StatusWrongParameter;
    Illumination illumination(exposure);
    if (!illumination)
        return StatusAllocationFailed;
    int status = binBalanced(exposure, illumination);
    if (status != StatusOk)
        return status;
    illumination.cut();
    status = checkSymmetry(illumination.inner(), illumination.width(), illumination.height(), result.asymDegree);
    if (status != StatusOk)
        logInfo(status, "checkSymmetry failed, asymDegree=%f", static_cast<double>(result.asymDegree));
    else
        logPeak(illumination, result);
    return status;
}

}  // namespace

bool showsIllumination(const Exposure& exposure) noexcept {
    return exposure.blockColumns() >= kIlluminationBlocks && exposure.blockRows() >= kIlluminationBlocks;
}

int fitTubeCentre(const Exposure& exposure, SurfaceFitResult& result) {
    const AfeBlocks blocks{exposure.width, detectorAfeWidth()};
    if (!showsIllumination(exposure))
        return StatusWrongParameter;
    if (!measurable(blocks)) {
        printConsole("calcuate ratio between neighbour AFE fail during calibration!\n");
        return StatusWrongParameter;
    }
    ExposureRows<signedDifference> rows(exposure);
    Illumination illumination(exposure);
    AfeMeasurement measurement(blocks, exposure.height);
    if (!rows || !illumination || !measurement)
        return StatusAllocationFailed;
    int status = measurement.measure(rows);
    if (status != StatusOk)
        return status;
    const auto repairAndScale = [&](std::span<float> row) {
        for (const ColumnReplacement& replacement : measurement.replacements())
            row[replacement.column] = row[replacement.source];
        scaleRow(row, blocks, measurement.columnGains());
    };
    status = binRows(rows, repairAndScale, illumination.blocks());
    if (status != StatusOk)
        return status;
    illumination.cut();
    return fitVertices(illumination, result);
}

int checkFirstImgForFactoryCalibration(const Exposure& exposure, SurfaceFitResult& result) {
    logBegin("checkFirstImgForFactoryCalibration");
    getGainImgDir();
    const int status = examineIllumination(exposure, result);
    logEnd("checkFirstImgForFactoryCalibration", " terminates with a return value ", status);
    return status;
}

}  // namespace qx
