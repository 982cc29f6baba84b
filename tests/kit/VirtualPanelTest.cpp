#include <VirtualPanel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <set>
#include <vector>

namespace {

using qxkit::Frame16;
using qxkit::FrameOptions;
using qxkit::PanelParameters;
using qxkit::Rectangle;
using qxkit::VirtualPanel;

class Spread {
public:
    void add(double value) {
        ++count_;
        const double step = value - mean_;
        mean_ += step / count_;
        squares_ += step * (value - mean_);
    }
    double mean() const { return mean_; }
    double variance() const { return squares_ / count_; }

private:
    double count_ = 0.0, mean_ = 0.0, squares_ = 0.0;
};

PanelParameters size(int width, int height) {
    PanelParameters parameters;
    parameters.width = width;
    parameters.height = height;
    return parameters;
}

PanelParameters flawless(int width, int height) {
    PanelParameters parameters = size(width, height);
    parameters.defectivePixelShare = 0.0;
    parameters.deadHalfColumns = parameters.deadRows = parameters.clusters = 0;
    return parameters;
}

// No gain or shading either: every pixel sees the whole level.
PanelParameters even(int width, int height) {
    PanelParameters parameters = flawless(width, height);
    parameters.pixelGainSigma = parameters.afeStepMin = parameters.afeStepMax = parameters.splitStep = 0.0;
    parameters.shading = 0.0;
    parameters.sourceDistanceCm = 1e9;
    return parameters;
}

template <class Frame>
double at(const Frame& frame, int row, int column) {
    return static_cast<double>(frame.pixels[static_cast<std::size_t>(row * frame.width + column)]);
}

template <class Frame>
double areaMean(const Frame& frame, const Rectangle& area) {
    double sum = 0.0;
    for (int row = area.row; row < area.row + area.height; ++row) {
        for (int column = area.column; column < area.column + area.width; ++column)
            sum += at(frame, row, column);
    }
    return sum / area.height / area.width;
}

// FNV-1a over the pixels, low byte first.
template <class Pixel>
std::uint64_t checksum(const std::vector<Pixel>& pixels) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const Pixel pixel : pixels) {
        for (std::size_t byte = 0; byte < sizeof(Pixel); ++byte)
            hash = (hash ^ (static_cast<std::uint64_t>(pixel) >> (8 * byte) & 0xFF)) * 0x100000001B3U;
    }
    return hash;
}

// In the order of the record.
FrameOptions everyOption(const PanelParameters& panel) {
    std::vector<qxkit::Attenuator> attenuators = qxkit::standardPhantom(panel);
    attenuators.push_back(qxkit::collimatedCorner(10, 12, 0.1));
    return {3, 30000.0, 2.5, -1.25, 0.1, -0.2, 1.5, 1.0, 9, 33.0, attenuators, {qxkit::stripStep(panel, 40, 250.0)}};
}

TEST(VirtualPanelBytes, are_the_same_on_every_platform) {
    const PanelParameters parameters = size(300, 200);
    const VirtualPanel panel(parameters);
    const FrameOptions options = everyOption(parameters);
    const qxkit::AedFrame aed = panel.aed({.triggerLine = 100, .rowSlope = 0.3, .referenceWidth = 320});
    EXPECT_EQ(0x138B25A0A0BFCBB3U, checksum(panel.dark().pixels));
    EXPECT_EQ(0x032B800B9F9A61E5U, checksum(panel.flat().pixels));
    EXPECT_EQ(0x892670DFA890DD67U, checksum(panel.object().pixels));
    EXPECT_EQ(0xE2E6E9ECB947A719U, checksum(panel.flat(options).pixels));
    EXPECT_EQ(0xD1E3D2BB8767C7EDU, checksum(panel.correctedFlat(options).pixels));
    EXPECT_EQ(0xB38C44585DE4669AU, checksum(aed.image.pixels));
    EXPECT_EQ(0xA98BE1F0DDD48E3DU, checksum(aed.reference.pixels));
    EXPECT_EQ(0x208B957E5CA3642AU, checksum(panel.ndtObject(5).pixels));
    EXPECT_EQ(0xA971C03A3D459E03U, checksum(panel.truth().defects.points));
}

TEST(VirtualPanelBytes, follow_seed_and_frame_number) {
    const VirtualPanel panel(size(64, 64));
    PanelParameters other = size(64, 64);
    other.seed = 2;
    EXPECT_EQ(panel.flat().pixels, VirtualPanel(size(64, 64)).flat().pixels);
    EXPECT_NE(panel.flat().pixels, panel.flat({.frame = 1}).pixels);
    EXPECT_NE(panel.truth().dark, VirtualPanel(other).truth().dark);
    EXPECT_NE(panel.truth().response, VirtualPanel(other).truth().response);
}

TEST(VirtualPanelFlat, steps_between_afes_and_halves) {
    PanelParameters parameters = even(1024, 256);
    parameters.afeWidth = 32;
    parameters.afeStepMin = 0.02;
    parameters.afeStepMax = 0.05;
    parameters.splitStep = 0.005;
    const VirtualPanel panel(parameters);
    const std::vector<double>& gains = panel.truth().afeGains;
    ASSERT_EQ(32U, gains.size());
    for (std::size_t afe = 0; afe < 32; ++afe) {
        const float* const response = &panel.truth().response[32 * afe];
        EXPECT_NEAR(gains[afe], response[0], 1e-6) << afe;
        EXPECT_NEAR(gains[afe], response[31], 1e-6) << afe;
        EXPECT_NEAR(1.005 * gains[afe], response[128 * 1024], 1e-6) << afe;
        EXPECT_NEAR(1.0, gains[afe], 0.055);
        const double before = afe > 0 ? gains[afe - 1] : gains[0] / 1.035;
        EXPECT_NEAR(0.035, std::abs(gains[afe] / before - 1.0), 0.0151) << afe;
    }
}

TEST(VirtualPanelFlat, spreads_about_its_expectation_and_is_clipped_at_both_ends) {
    const PanelParameters parameters = size(160, 160);
    const VirtualPanel panel(parameters);
    const FrameOptions options = everyOption(parameters);
    const Frame16 frame = panel.flat(options);
    for (int row = 0; row < 160; ++row) {
        for (int column = 0; column < 160; ++column) {
            const double expected = panel.expectedRaw(options, row, column);
            ASSERT_NEAR(expected, at(frame, row, column), 6.0 * 1.5 * (std::sqrt(49.0 + 0.75 * expected) + 3.0) + 1.0);
        }
    }
    const VirtualPanel small(even(32, 32));
    const FrameOptions black{.addedLevels = {{{0, 0, 32, 32}, -90000.0}}};
    EXPECT_EQ(std::vector<std::uint16_t>(1024, 65535), small.flat({.level = 70000.0}).pixels);
    EXPECT_EQ(std::vector<std::uint16_t>(1024, 0), small.flat(black).pixels);
}

TEST(VirtualPanelDefects, are_listed_completely_and_once) {
    constexpr int kSize = 400;
    const VirtualPanel panel(size(kSize, kSize));
    const VectorDefect& defects = panel.truth().defects;
    EXPECT_EQ(480U, defects.points.size());
    EXPECT_EQ(2U, defects.rows.size());
    EXPECT_EQ(3U, defects.columns.size());
    EXPECT_EQ(6, std::count(defects.clusters.begin(), defects.clusters.end(), -1));
    EXPECT_EQ(-1, defects.clusters.back());
    EXPECT_TRUE(std::is_sorted(defects.points.begin(), defects.points.end()));
    std::multiset<int> single(defects.points.begin(), defects.points.end());
    single.insert(defects.clusters.begin(), defects.clusters.end());
    for (int i = 0; i < kSize * kSize; ++i) {
        const bool inLine = std::count(defects.rows.begin(), defects.rows.end(), i / kSize) > 0 ||
                            std::count(defects.columns.begin(), defects.columns.end(), i % kSize) > 0;
        ASSERT_LE(single.count(i), inLine ? 0U : 1U) << i;
        const double response = panel.truth().response[static_cast<std::size_t>(i)];
        ASSERT_TRUE(inLine || single.contains(i) || (response > 0.85 && response < 1.15)) << i << " " << response;
    }
    const Frame16 dark = panel.dark(), flat = panel.flat();
    for (const qxkit::HalfColumn& half : panel.truth().halfColumns) {
        const Rectangle area{half.firstRow, half.column, half.rowCount, 1};
        EXPECT_NEAR(areaMean(dark, area), areaMean(flat, area), 5.0);
        EXPECT_GT(areaMean(flat, {half.firstRow == 0 ? half.rowCount : 0, half.column, kSize / 2, 1}), 40000.0);
    }
}

// Mean over spread of the centred square.
double snr(const Frame16& frame, int side) {
    Spread values;
    for (int row = (frame.height - side) / 2; row < (frame.height + side) / 2; ++row) {
        for (int column = (frame.width - side) / 2; column < (frame.width + side) / 2; ++column)
            values.add(at(frame, row, column) - kPedestal);
    }
    return values.mean() / std::sqrt(values.variance());
}

TEST(VirtualPanelCorrectedFlat, has_the_pedestal_and_a_realistic_snr_series) {
    const VirtualPanel panel(size(1024, 1024));
    const Frame16 frame = panel.correctedFlat();
    EXPECT_NEAR(52000.0 + kPedestal, areaMean(frame, {0, 0, 1024, 1024}), 60.0);
    for (const int side : {64, 256, 768})
        EXPECT_NEAR(265.0, snr(frame, side), 12.0) << side;
    EXPECT_NEAR(132.0, snr(panel.correctedFlat({.noiseScale = 2.0}), 128), 6.0);
    const Frame16 uneven = panel.correctedFlat({.residualShadingScale = 20.0});
    EXPECT_GT(snr(uneven, 64), 240.0);
    EXPECT_LT(snr(uneven, 768), 0.8 * snr(uneven, 64));
    EXPECT_NEAR(kPedestal, areaMean(panel.correctedFlat({.level = 0.0}), {0, 0, 1024, 1024}), 0.5);
}

TEST(VirtualPanelAed, stripe_has_its_ratios_and_the_rest_is_clean) {
    const VirtualPanel panel(size(640, 200));
    qxkit::AedOptions options{.triggerLine = 100, .stripeRows = 8, .stripeDepth = 0.4, .referenceWidth = 700};
    options.exposure.attenuators = {{{0, 100, 200, 50}, 0.5, false}};
    const qxkit::AedFrame frame = panel.aed(options);
    EXPECT_EQ(92, frame.firstStripeRow);
    ASSERT_EQ(8U, frame.rowRatios.size());
    EXPECT_NEAR(0.95, frame.rowRatios.front(), 1e-12);
    EXPECT_NEAR(0.6, frame.rowRatios.back(), 1e-12);
    EXPECT_EQ(700, frame.reference.width);
    for (int row = 80; row < 120; ++row) {
        const double ratio = row >= 92 && row < 100 ? frame.rowRatios[static_cast<std::size_t>(row - 92)] : 1.0;
        for (int column = 0; column < 640; ++column)
            ASSERT_NEAR((at(frame.clean, row, column) - kPedestal) * ratio, at(frame.image, row, column) - kPedestal,
                        ratio < 1.0 ? 1.01 : 0.0);
        EXPECT_NEAR(8000.0 * ratio, areaMean(frame.reference, {row, 0, 1, 700}) - kPedestal, 30.0) << row;
    }
    EXPECT_NEAR(4000.0, areaMean(frame.clean, {0, 100, 200, 50}) - kPedestal, 15.0);
}

TEST(VirtualPanelNdt, sums_frames_beyond_sixteen_bits) {
    const VirtualPanel panel(even(128, 128));
    const qxkit::Frame32 dark = panel.ndtDark(100), bright = panel.ndtBright(100);
    const qxkit::FrameFloat average = panel.averageDark(100);
    Spread darkNoise, brightNoise;
    for (std::size_t i = 0; i < dark.pixels.size(); ++i) {
        const double pattern = 100.0 * panel.truth().dark[i];
        darkNoise.add(dark.pixels[i] - pattern);
        brightNoise.add(bright.pixels[i] - pattern - 5200000.0);
        ASSERT_NEAR(dark.pixels[i], 100.0 * average.pixels[i], 0.6);
    }
    EXPECT_NEAR(5800.0, darkNoise.variance(), 400.0);
    EXPECT_NEAR(1.0, brightNoise.variance() / (100.0 * (58.0 + 0.75 * 52000.0)), 0.05);
    EXPECT_NEAR(0.0, brightNoise.mean(), 100.0);
    const qxkit::Attenuator wedge = qxkit::standardPhantom(panel.parameters())[3];
    const double step = areaMean(panel.ndtObject(100), wedge.area) - areaMean(dark, wedge.area);
    EXPECT_NEAR(wedge.transmission, step / 5200000.0, 0.001);
}

TEST(VirtualPanelParameters, out_of_range_count_as_the_nearest_in_range) {
    constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
    PanelParameters none = flawless(20, 10);
    none.variancePerCount = none.temporalNoiseSigma = none.rowNoiseSigma = 0.0;
    PanelParameters parameters = none;
    parameters.defectivePixelShare = -1e9;
    parameters.deadHalfColumns = parameters.deadRows = parameters.clusters = INT_MIN;
    parameters.variancePerCount = -5.0;
    const VirtualPanel panel(none), clamped(parameters);
    EXPECT_EQ(panel.flat().pixels, clamped.flat().pixels);
    EXPECT_EQ(panel.correctedFlat().pixels, clamped.correctedFlat().pixels);
    parameters.defectivePixelShare = kNoNumber;
    EXPECT_TRUE(VirtualPanel(parameters).truth().defects.points.empty());

    FrameOptions options{.noisyRows = INT_MIN,
                         .attenuators = {{{INT_MIN, INT_MIN, 1, 1}, 0.0, true}, {{0, 0, -4, -4}, 0.0, true}},
                         .addedLevels = {qxkit::stripStep(none, INT_MAX, 9.0), {{9, 19, -1, -1}, 9.0}}};
    EXPECT_EQ(panel.flat().pixels, panel.flat(options).pixels);
    options.noiseScale = kNoNumber;
    EXPECT_EQ(std::vector<std::uint16_t>(200, 0), panel.flat(options).pixels);
    for (const int frameCount : {0, INT_MIN}) {
        EXPECT_EQ(panel.ndtObject(1).pixels, panel.ndtObject(frameCount).pixels) << frameCount;
        EXPECT_EQ(panel.averageDark(1).pixels, panel.averageDark(frameCount).pixels) << frameCount;
    }
    const qxkit::AedFrame aed = panel.aed({.triggerLine = INT_MIN, .stripeRows = INT_MIN});
    EXPECT_EQ(aed.clean.pixels, aed.image.pixels);
}

TEST(VirtualPanelSize, may_be_small_odd_or_empty) {
    for (const auto& [width, height] : {std::pair{0, 0}, {0, 5}, {INT_MIN, 5}, {1, 1}, {2, 3}, {7, 1}, {129, 33}}) {
        const VirtualPanel panel(size(width, height));
        const auto pixels = static_cast<std::size_t>(std::max(width, 0) * height);
        EXPECT_EQ(pixels, panel.flat().pixels.size());
        EXPECT_EQ(pixels, panel.correctedFlat().pixels.size());
        EXPECT_EQ(pixels, panel.object().pixels.size());
    }
}

}  // namespace
