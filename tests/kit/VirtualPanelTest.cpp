#include <VirtualPanel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <vector>

namespace {

using qxkit::Frame16;
using qxkit::FrameOptions;
using qxkit::PanelParameters;
using qxkit::Rectangle;
using qxkit::VirtualPanel;

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
    EXPECT_EQ(0x09B7760282A541E8U, checksum(panel.ndtDark(100).pixels));
    EXPECT_EQ(0x2588DCA8A4B47124U, checksum(panel.ndtBright(100).pixels));
    EXPECT_EQ(0xCC28F6F75E851058U, checksum(aed.clean.pixels));
    EXPECT_EQ(0xA971C03A3D459E03U, checksum(panel.truth().defects.points));
    EXPECT_EQ(0x1624ED6146699519U, checksum(VirtualPanel(size(1024, 1024)).correctedFlat().pixels));
}

TEST(VirtualPanelBytes, follow_the_seed) {
    const VirtualPanel panel(size(64, 64));
    PanelParameters other = size(64, 64);
    other.seed = 2;
    EXPECT_NE(panel.truth().dark, VirtualPanel(other).truth().dark);
    EXPECT_NE(panel.truth().response, VirtualPanel(other).truth().response);
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

TEST(VirtualPanelAed, stripe_ends_above_the_trigger_line_and_deepens_towards_it) {
    const qxkit::AedFrame frame =
        VirtualPanel(size(64, 200))
            .aed({.triggerLine = 100, .stripeRows = 8, .stripeDepth = 0.4, .referenceWidth = 70});
    EXPECT_EQ(92, frame.firstStripeRow);
    ASSERT_EQ(8U, frame.rowRatios.size());
    EXPECT_NEAR(0.95, frame.rowRatios.front(), 1e-12);
    EXPECT_NEAR(0.6, frame.rowRatios.back(), 1e-12);
    EXPECT_EQ(70, frame.reference.width);
}

TEST(VirtualPanelNdt, average_is_the_sum_before_its_rounding) {
    const VirtualPanel panel(size(128, 128));
    const qxkit::Frame32 dark = panel.ndtDark(100);
    const qxkit::FrameFloat average = panel.averageDark(100);
    for (std::size_t i = 0; i < dark.pixels.size(); ++i)
        ASSERT_NEAR(dark.pixels[i], 100.0 * average.pixels[i], 0.6);
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
