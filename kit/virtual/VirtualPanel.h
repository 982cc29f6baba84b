#pragma once

// A simulated flat panel: frames of known truth. Everything follows from PanelParameters and the options of a frame,
// byte for byte the same on every platform; the temporal noise of two frames differs only when FrameOptions::frame
// does.
//
// A raw 16-bit pixel is
//   dark pattern + added levels + row noise + response x illumination x level + noise,  clipped to 0..65535,
// with noise variance temporalNoise^2 + variancePerCount x signal. A corrected pixel is the pedestal plus the signal
// that the response and the illumination took away, given back; its noise grows where that was much.
//
// Images are row-major. Positions are rows and columns from 0, the tube geometry is in centimetres. Areas may reach
// beyond the frame.
//
// Nothing is refused. Sizes and counts below 0 count as 0, frame counts and the pitch of slow patterns below 1 as 1, a
// share of pixels is limited to 0..1, and a pixel whose value is no number is 0. The sign of a sigma has no meaning; a
// variance below 0 counts as 0. A panel has fewer than 2^31 pixels.

#include <QxUtils/Records.h>
#include <QxUtils/Types.h>

#include <cstdint>
#include <vector>

namespace qxkit {

// Magnitudes as measured on real panels.
struct PanelParameters {
    int width = 3072;   // pixels
    int height = 3072;  // pixels
    std::uint64_t seed = 1;

    double darkLevel = 600.0;         // mean of a dark frame, counts
    double darkPixelSigma = 25.0;     // fixed pattern from pixel to neighbour, counts
    double darkSlowSigma = 68.0;      // slow fixed pattern, counts
    int slowPitch = 512;              // pixels between the supports of slow patterns
    double temporalNoiseSigma = 7.0;  // counts a pixel
    double rowNoiseSigma = 3.0;       // counts, common to a row
    double variancePerCount = 0.75;   // of an exposed pixel, counts
    double pixelGainSigma = 0.01;     // relative response from pixel to neighbour
    int afeWidth = 128;               // columns an AFE serves
    double afeStepMin = 0.02;         // smallest relative gain step between neighbouring AFEs, of either sign
    double afeStepMax = 0.05;         // largest
    double splitStep = 0.005;         // relative gain step of the rows from height / 2 on
    double shading = 0.07;            // relative fall from the first to the last column
    double sourceDistanceCm = 180.0;  // tube to panel
    double fieldWidthCm = 43.0;       // of all columns; pixels are square
    double defectivePixelShare = 0.003;
    int deadHalfColumns = 3;
    int deadRows = 2;
    int clusters = 6;
    double pedestal = kPedestal;         // of corrected frames, counts
    double residualShadingSigma = 5e-4;  // relative slow pattern that correction leaves
};

struct Rectangle {
    int row = 0;
    int column = 0;
    int height = 0;
    int width = 0;
};

// Something between tube and panel: the rectangle, or the ellipse inside it, lets this share through.
struct Attenuator {
    Rectangle area;
    double transmission = 0.0;
    bool ellipse = false;
};

// Counts added to every pixel of an area: steps between strips, patches of a dark frame.
struct AddedLevel {
    Rectangle area;
    double counts = 0.0;
};

struct FrameOptions {
    std::uint32_t frame = 0;     // the same number gives the same noise
    double level = 52000.0;      // counts at response 1 and illumination 1; 0: not exposed
    double tubeOffsetXCm = 0.0;  // foot of the tube from the panel's centre, to the right
    double tubeOffsetYCm = 0.0;  // downwards
    double tubeTiltX = 0.0;      // relative gain of illumination from the first to the last column
    double tubeTiltY = 0.0;      // from the first to the last row
    double noiseScale = 1.0;     // of temporal, row and exposure noise; SNR is inverse to it
    double residualShadingScale = 1.0;
    int noisyRows = 0;            // rows 0 .. noisyRows - 1 ...
    double noisyRowCounts = 0.0;  // ... are moved by this much, up (even rows) and down (odd rows)
    std::vector<Attenuator> attenuators{};
    std::vector<AddedLevel> addedLevels{};
};

// Options that make one quality check fail.
AddedLevel stripStep(const PanelParameters& panel, int firstColumn, double counts);  // all columns from firstColumn on
Attenuator collimatedCorner(int rows, int columns, double transmission);             // top left
std::vector<Attenuator> standardPhantom(const PanelParameters& panel);               // step wedge, discs and a lead bar

struct Frame16 {
    int width = 0;
    int height = 0;
    std::vector<std::uint16_t> pixels;
};

struct Frame32 {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;
};

struct FrameFloat {
    int width = 0;
    int height = 0;
    std::vector<float> pixels;
};

struct HalfColumn {
    int column = 0;
    int firstRow = 0;
    int rowCount = 0;
};

// What is fixed in a panel. Defect lists are ascending and disjoint, every dead half-column counts as a bad column.
struct PanelTruth {
    std::vector<float> dark;       // counts a pixel, hot pixels included
    std::vector<float> response;   // relative, AFE and split steps included; 0 where the pixel is dead
    std::vector<double> afeGains;  // the last one also serves the columns right of the last whole AFE
    VectorDefect defects;
    std::vector<HalfColumn> halfColumns;
};

struct AedOptions {
    FrameOptions exposure{.level = 8000.0};
    int triggerLine = 1536;     // row
    int stripeRows = 10;        // rows triggerLine - stripeRows .. triggerLine - 1
    double stripeDepth = 0.25;  // share of the signal that row triggerLine - 1 lacks
    double rowSlope = 0.0;      // counts a row, 0 at the trigger line
    int referenceWidth = 0;     // columns of the reference frame, 0: as the image
};

struct AedFrame {
    Frame16 image;      // with the stripe
    Frame16 clean;      // the same frame, the same noise, no stripe
    Frame16 reference;  // the same stripe without attenuators, noise of its own
    int firstStripeRow = 0;
    std::vector<double> rowRatios;  // signal of the stripe's rows over the undisturbed signal, top to bottom
};

class VirtualPanel {
public:
    explicit VirtualPanel(const PanelParameters& parameters = {});

    const PanelParameters& parameters() const { return parameters_; }
    const PanelTruth& truth() const { return truth_; }

    // Raw frames. object() puts the standard phantom into the beam when the options name no attenuator.
    Frame16 dark(const FrameOptions& options = {}) const;
    Frame16 flat(const FrameOptions& options = {}) const;
    Frame16 object(const FrameOptions& options = {}) const;

    // The mean of frameCount dark frames.
    FrameFloat averageDark(int frameCount, const FrameOptions& options = {}) const;

    // A one-shot calibrated frame: pedestal, no AFE, offset, illumination or defect left. Attenuators stay.
    Frame16 correctedFlat(const FrameOptions& options = {}) const;

    // A corrected frame triggered by the exposure itself.
    AedFrame aed(const AedOptions& options = {}) const;

    // Sums of frameCount raw frames without the 16-bit clip.
    Frame32 ndtDark(int frameCount, const FrameOptions& options = {}) const;
    Frame32 ndtBright(int frameCount, const FrameOptions& options = {}) const;
    Frame32 ndtObject(int frameCount, const FrameOptions& options = {}) const;

    // Truth of one pixel: illumination in 0..1 (a little above on the bright side), attenuators included, and the
    // noise-free raw value in counts before clipping.
    double illumination(const FrameOptions& options, int row, int column) const;
    double expectedRaw(const FrameOptions& options, int row, int column) const;

private:
    PanelParameters parameters_;
    PanelTruth truth_;
};

}  // namespace qxkit
