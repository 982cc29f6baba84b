// Frames of a panel.

#include "VirtualPanel.h"

#include "BlockGain.h"
#include "PanelNoise.h"
#include "SlowPattern.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

namespace qxkit {
namespace {

constexpr double kLeastResponse = 0.05;  // keeps the noise of a corrected frame finite where no light falls

bool covers(const Rectangle& area, int row, int column) {
    return row >= area.row && row < std::int64_t{area.row} + area.height && column >= area.column &&
           column < std::int64_t{area.column} + area.width;
}

bool shades(const Attenuator& attenuator, int row, int column) {
    const Rectangle& area = attenuator.area;
    if (!covers(area, row, column) || !attenuator.ellipse)
        return covers(area, row, column);
    const double x = (2.0 * (static_cast<double>(column) - area.column) + 1.0) / area.width - 1.0;
    const double y = (2.0 * (static_cast<double>(row) - area.row) + 1.0) / area.height - 1.0;
    return x * x + y * y <= 1.0;
}

double transmission(const std::vector<Attenuator>& attenuators, int row, int column) {
    double product = 1.0;
    for (const Attenuator& attenuator : attenuators) {
        if (shades(attenuator, row, column))
            product *= attenuator.transmission;
    }
    return product;
}

double addedLevel(const FrameOptions& options, int row, int column) {
    double sum = 0.0;
    if (row < options.noisyRows)
        sum += row % 2 == 0 ? options.noisyRowCounts : -options.noisyRowCounts;
    for (const AddedLevel& level : options.addedLevels) {
        if (covers(level.area, row, column))
            sum += level.counts;
    }
    return sum;
}

// Light on a panel without anything in the beam. Oblique rays spread over a larger area, so the inverse square of the
// distance takes another factor of distance.
double openField(const PanelParameters& panel, const FrameOptions& options, int row, int column) {
    const double pitchCm = panel.fieldWidthCm / panel.width;
    const double x = (column + 0.5) / panel.width - 0.5;
    const double y = (row + 0.5) / panel.height - 0.5;
    const double xCm = x * panel.width * pitchCm - options.tubeOffsetXCm;
    const double yCm = y * panel.height * pitchCm - options.tubeOffsetYCm;
    const double squares = 1.0 + (xCm * xCm + yCm * yCm) / (panel.sourceDistanceCm * panel.sourceDistanceCm);
    const double tilt = (1.0 - panel.shading * x) * (1.0 + options.tubeTiltX * x) * (1.0 + options.tubeTiltY * y);
    return tilt / (squares * std::sqrt(squares));
}

// Rounded and clipped; 0 for what is no number.
template <class Pixel>
Pixel toPixel(double value) {
    constexpr double kHighest = std::numeric_limits<Pixel>::max();
    const double rounded = value + 0.5;
    return rounded >= 0.0 ? static_cast<Pixel>(std::min(rounded, kHighest)) : Pixel{0};
}

// A negative variance counts as none.
double noiseSigma(const PanelParameters& panel, double signal, double response) {
    const double darkVariance = panel.temporalNoiseSigma * panel.temporalNoiseSigma;
    return std::sqrt(std::max(0.0, darkVariance + panel.variancePerCount * signal * response));
}

// Sums of frameCount raw frames; store(index, counts) takes the pixels in memory order.
template <class Store>
void renderRaw(const VirtualPanel& panel, const FrameOptions& options, int frameCount, Store store) {
    const PanelParameters& parameters = panel.parameters();
    const NoiseStream pixelNoise(parameters.seed, NoiseSource::Pixel, options.frame);
    const NoiseStream rowNoise(parameters.seed, NoiseSource::Row, options.frame);
    const double noiseScale = options.noiseScale * std::sqrt(static_cast<double>(frameCount));
    std::size_t index = 0;
    for (int row = 0; row < parameters.height; ++row) {
        const double rowDeviation = parameters.rowNoiseSigma * rowNoise.gaussian(static_cast<std::uint64_t>(row));
        for (int column = 0; column < parameters.width; ++column, ++index) {
            const double light = options.level > 0.0 ? options.level * panel.illumination(options, row, column) : 0.0;
            const double signal = std::max(light, 0.0) * panel.truth().response[index];
            const double mean = panel.truth().dark[index] + addedLevel(options, row, column) + signal;
            const double noise = noiseSigma(parameters, signal, 1.0) * pixelNoise.gaussian(index) + rowDeviation;
            store(index, frameCount * mean + noiseScale * noise);
        }
    }
}

template <class Frame>
Frame rawFrame(const VirtualPanel& panel, const FrameOptions& options, int frameCount) {
    Frame frame{panel.parameters().width, panel.parameters().height, {}};
    frame.pixels.resize(panel.truth().dark.size());
    using Pixel = typename decltype(frame.pixels)::value_type;
    renderRaw(panel, options, std::max(frameCount, 1),
              [&](std::size_t index, double counts) { frame.pixels[index] = toPixel<Pixel>(counts); });
    return frame;
}

FrameOptions unexposed(FrameOptions options) {
    options.level = 0.0;
    return options;
}

FrameOptions withPhantom(const PanelParameters& panel, FrameOptions options) {
    if (options.attenuators.empty())
        options.attenuators = standardPhantom(panel);
    return options;
}

struct NoiseSources {
    NoiseSource pixel = NoiseSource::Pixel;
    NoiseSource row = NoiseSource::Row;
};

// A corrected frame's counts above the pedestal. slope is in counts a row, counted from slopeRow.
struct CorrectedView {
    FrameOptions options{};
    int width = 0;
    double slope = 0.0;
    int slopeRow = 0;
    NoiseSources sources{};
};

template <class Store>
void renderCorrected(const VirtualPanel& panel, const CorrectedView& view, Store store) {
    const PanelParameters& parameters = panel.parameters();
    const FrameOptions& options = view.options;
    const NoiseStream pixelNoise(parameters.seed, view.sources.pixel, options.frame);
    const NoiseStream rowNoise(parameters.seed, view.sources.row, options.frame);
    const double residualSigma = parameters.residualShadingSigma * options.residualShadingScale;
    const SlowPattern residual(NoiseStream(parameters.seed, NoiseSource::Residual), parameters.slowPitch,
                               residualSigma);
    std::vector<double> residualRow(static_cast<std::size_t>(view.width));
    std::size_t index = 0;
    for (int row = 0; row < parameters.height; ++row) {
        residual.row(row, residualRow);
        const double rowDeviation = parameters.rowNoiseSigma * rowNoise.gaussian(static_cast<std::uint64_t>(row));
        for (int column = 0; column < view.width; ++column, ++index) {
            const int place = std::min(column, parameters.width - 1);
            const double light = options.level * transmission(options.attenuators, row, column) +
                                 view.slope * (static_cast<double>(row) - view.slopeRow);
            const double response = std::max(openField(parameters, options, row, place), kLeastResponse) *
                                    blockGain(parameters, panel.truth().afeGains, row, place);
            const double signal = std::max(light, 0.0);
            const double sigma = noiseSigma(parameters, signal, response);
            const double noise = options.noiseScale * (sigma * pixelNoise.gaussian(index) + rowDeviation) / response;
            const double shaded = signal * (1.0 + residualRow[static_cast<std::size_t>(column)]);
            store(row, shaded + noise + addedLevel(options, row, column));
        }
    }
}

double stripeRatio(const AedFrame& frame, int row) {
    const std::int64_t stripeRow = std::int64_t{row} - frame.firstStripeRow;
    const bool isInside = stripeRow >= 0 && stripeRow < std::ssize(frame.rowRatios);
    return isInside ? frame.rowRatios[static_cast<std::size_t>(stripeRow)] : 1.0;
}

}  // namespace

double VirtualPanel::illumination(const FrameOptions& options, int row, int column) const {
    return openField(parameters_, options, row, column) * transmission(options.attenuators, row, column);
}

double VirtualPanel::expectedRaw(const FrameOptions& options, int row, int column) const {
    const auto index =
        static_cast<std::size_t>(row) * static_cast<std::size_t>(parameters_.width) + static_cast<std::size_t>(column);
    const double light = std::max(options.level * illumination(options, row, column), 0.0);
    return truth_.dark[index] + addedLevel(options, row, column) + light * truth_.response[index];
}

Frame16 VirtualPanel::dark(const FrameOptions& options) const {
    return rawFrame<Frame16>(*this, unexposed(options), 1);
}

Frame16 VirtualPanel::flat(const FrameOptions& options) const {
    return rawFrame<Frame16>(*this, options, 1);
}

Frame16 VirtualPanel::object(const FrameOptions& options) const {
    return flat(withPhantom(parameters_, options));
}

FrameFloat VirtualPanel::averageDark(int frameCount, const FrameOptions& options) const {
    FrameFloat frame{parameters_.width, parameters_.height, std::vector<float>(truth_.dark.size())};
    const int count = std::max(frameCount, 1);
    renderRaw(*this, unexposed(options), count,
              [&](std::size_t index, double counts) { frame.pixels[index] = static_cast<float>(counts / count); });
    return frame;
}

Frame16 VirtualPanel::correctedFlat(const FrameOptions& options) const {
    Frame16 frame{parameters_.width, parameters_.height, {}};
    frame.pixels.reserve(truth_.dark.size());
    renderCorrected(*this, {.options = options, .width = parameters_.width}, [&](int, double counts) {
        frame.pixels.push_back(toPixel<std::uint16_t>(parameters_.pedestal + counts));
    });
    return frame;
}

AedFrame VirtualPanel::aed(const AedOptions& options) const {
    AedFrame frame;
    const int stripeRows = std::max(options.stripeRows, 0);
    frame.firstStripeRow = options.triggerLine - stripeRows;
    for (int i = 1; i <= stripeRows; ++i)
        frame.rowRatios.push_back(1.0 - options.stripeDepth * i / stripeRows);
    const auto striped = [&](int row, double counts) {
        return toPixel<std::uint16_t>(parameters_.pedestal + counts * stripeRatio(frame, row));
    };
    const int referenceWidth = options.referenceWidth > 0 ? options.referenceWidth : parameters_.width;
    CorrectedView view{options.exposure, parameters_.width, options.rowSlope, options.triggerLine, {}};
    frame.image = {parameters_.width, parameters_.height, {}};
    frame.clean = frame.image;
    renderCorrected(*this, view, [&](int row, double counts) {
        frame.image.pixels.push_back(striped(row, counts));
        frame.clean.pixels.push_back(toPixel<std::uint16_t>(parameters_.pedestal + counts));
    });
    view.options.attenuators.clear();
    view.width = referenceWidth;
    view.sources = {NoiseSource::ReferencePixel, NoiseSource::ReferenceRow};
    frame.reference = {referenceWidth, parameters_.height, {}};
    renderCorrected(*this, view,
                    [&](int row, double counts) { frame.reference.pixels.push_back(striped(row, counts)); });
    return frame;
}

Frame32 VirtualPanel::ndtDark(int frameCount, const FrameOptions& options) const {
    return rawFrame<Frame32>(*this, unexposed(options), frameCount);
}

Frame32 VirtualPanel::ndtBright(int frameCount, const FrameOptions& options) const {
    return rawFrame<Frame32>(*this, options, frameCount);
}

Frame32 VirtualPanel::ndtObject(int frameCount, const FrameOptions& options) const {
    return ndtBright(frameCount, withPhantom(parameters_, options));
}

}  // namespace qxkit
