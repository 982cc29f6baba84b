#include <VirtualPanel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <set>
#include <vector>

namespace {

using qxkit::Frame16;
using qxkit::FrameOptions;
using qxkit::PanelParameters;
using qxkit::VirtualPanel;

constexpr double kPedestal = 208.0;

class Spread {
public:
    void add(double value) {
        ++count_;
        const double step = value - mean_;
        mean_ += step / static_cast<double>(count_);
        squares_ += step * (value - mean_);
    }
    double mean() const { return mean_; }
    double variance() const { return squares_ / static_cast<double>(count_); }
    double sigma() const { return std::sqrt(variance()); }

private:
    std::size_t count_ = 0;
    double mean_ = 0.0;
    double squares_ = 0.0;
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
    return static_cast<double>(frame.pixels[static_cast<std::size_t>(row) * static_cast<std::size_t>(frame.width) +
                                            static_cast<std::size_t>(column)]);
}

template <class Frame>
double areaMean(const Frame& frame, const qxkit::Rectangle& area) {
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

FrameOptions everyOption(const PanelParameters& panel) {
    FrameOptions options;
    options.frame = 3;
    options.level = 30000.0;
    options.tubeOffsetXCm = 2.5;
    options.tubeOffsetYCm = -1.25;
    options.tubeTiltX = 0.1;
    options.tubeTiltY = -0.2;
    options.noiseScale = 1.5;
    options.noisyRows = 9;
    options.noisyRowCounts = 33.0;
    options.attenuators = qxkit::standardPhantom(panel);
    options.attenuators.push_back(qxkit::collimatedCorner(10, 12, 0.1));
    options.addedLevels = {qxkit::stripStep(panel, 40, 250.0)};
    return options;
}

TEST(VirtualPanelBytes, are_the_same_on_every_platform) {
    const PanelParameters parameters = size(300, 200);
    const VirtualPanel panel(parameters);
    const FrameOptions options = everyOption(parameters);
    qxkit::AedOptions aedOptions;
    aedOptions.triggerLine = 100;
    aedOptions.rowSlope = 0.3;
    aedOptions.referenceWidth = 320;
    const qxkit::AedFrame aed = panel.aed(aedOptions);
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
    FrameOptions next;
    next.frame = 1;
    EXPECT_EQ(panel.flat().pixels, VirtualPanel(size(64, 64)).flat().pixels);
    EXPECT_NE(panel.flat().pixels, panel.flat(next).pixels);
    EXPECT_NE(panel.truth().dark, VirtualPanel(other).truth().dark);
    EXPECT_NE(panel.truth().response, VirtualPanel(other).truth().response);
}

TEST(VirtualPanelDark, has_the_fixed_pattern_of_the_parameters) {
    PanelParameters parameters = flawless(1024, 1024);
    parameters.slowPitch = 64;
    const VirtualPanel panel(parameters);
    Spread neighbours;
    Spread blocks;
    for (int row = 0; row < 1024; ++row) {
        for (int column = 0; column < 1023; ++column) {
            const std::size_t i = static_cast<std::size_t>(row) * 1024 + static_cast<std::size_t>(column);
            neighbours.add(panel.truth().dark[i + 1] - panel.truth().dark[i]);
        }
    }
    for (const float level : panel.truth().dark)
        blocks.add(level);
    EXPECT_NEAR(25.0, neighbours.sigma() / std::sqrt(2.0), 0.3);
    EXPECT_NEAR(68.0, std::sqrt(blocks.variance() - 25.0 * 25.0), 7.0);
    EXPECT_NEAR(600.0, blocks.mean(), 15.0);
}

TEST(VirtualPanelDark, has_temporal_and_row_noise_of_the_parameters) {
    const VirtualPanel panel(size(512, 2048));
    FrameOptions next;
    next.frame = 1;
    const Frame16 first = panel.dark();
    const Frame16 second = panel.dark(next);
    Spread rows;
    Spread pixels;
    for (int row = 0; row < 2048; ++row) {
        Spread inRow;
        for (int column = 0; column < 512; ++column)
            inRow.add(at(first, row, column) - at(second, row, column));
        rows.add(inRow.mean());
        pixels.add(inRow.variance());
    }
    constexpr double kRounding = 1.0 / 12.0;
    EXPECT_NEAR(49.0, pixels.mean() / 2.0 - kRounding, 0.4);
    EXPECT_NEAR(9.0, rows.variance() / 2.0 - 49.0 / 512.0, 0.9);
}

TEST(VirtualPanelDark, averages_over_frames) {
    const VirtualPanel panel(even(256, 256));
    const qxkit::FrameFloat average = panel.averageDark(16);
    Spread noise;
    for (std::size_t i = 0; i < average.pixels.size(); ++i)
        noise.add(average.pixels[i] - panel.truth().dark[i]);
    EXPECT_NEAR((49.0 + 9.0) / 16.0, noise.variance(), 0.3);
    EXPECT_NEAR(0.0, noise.mean(), 0.2);
}

TEST(VirtualPanelFlat, has_three_quarters_of_a_count_of_variance_a_count) {
    const VirtualPanel panel(even(512, 512));
    for (const double level : {1000.0, 10000.0, 52000.0}) {
        FrameOptions options;
        options.level = level;
        const Frame16 frame = panel.flat(options);
        Spread noise;
        for (std::size_t i = 0; i < frame.pixels.size(); ++i)
            noise.add(frame.pixels[i] - panel.truth().dark[i] - level);
        EXPECT_NEAR(1.0, (noise.variance() - 58.0) / (0.75 * level), 0.02) << level;
        EXPECT_NEAR(0.0, noise.mean(), 5.0 * std::sqrt(0.75 * level) / 512.0 + 0.7) << level;
    }
}

TEST(VirtualPanelFlat, falls_off_towards_edges_and_corners) {
    PanelParameters parameters = even(301, 301);
    parameters.sourceDistanceCm = 180.0;
    VirtualPanel panel(parameters);
    const FrameOptions centred;
    EXPECT_NEAR(1.0, panel.illumination(centred, 150, 150), 1e-9);
    EXPECT_NEAR(0.98, panel.illumination(centred, 150, 300), 0.002);
    EXPECT_NEAR(0.98, panel.illumination(centred, 0, 150), 0.002);
    EXPECT_NEAR(0.96, panel.illumination(centred, 0, 0), 0.003);
    FrameOptions moved;
    moved.tubeOffsetXCm = 43.0 / 301.0 * 50;
    moved.tubeOffsetYCm = -43.0 / 301.0 * 20;
    EXPECT_NEAR(1.0, panel.illumination(moved, 130, 200), 1e-9);
    parameters.shading = 0.07;
    panel = VirtualPanel(parameters);
    EXPECT_NEAR(0.07, (panel.illumination(centred, 150, 0) - panel.illumination(centred, 150, 300)) / 0.98, 0.001);
    FrameOptions tilted;
    tilted.tubeTiltY = 0.8;
    EXPECT_NEAR(1.4 / 0.6, panel.illumination(tilted, 300, 150) / panel.illumination(tilted, 0, 150), 0.02);
}

TEST(VirtualPanelFlat, steps_between_afes_and_halves) {
    PanelParameters parameters = even(1024, 256);
    parameters.afeWidth = 32;
    parameters.afeStepMin = 0.02;
    parameters.afeStepMax = 0.05;
    parameters.splitStep = 0.005;
    const VirtualPanel panel(parameters);
    const Frame16 dark = panel.dark();
    const Frame16 frame = panel.flat();
    const std::vector<double>& gains = panel.truth().afeGains;
    ASSERT_EQ(32U, gains.size());
    for (int afe = 0; afe < 32; ++afe) {
        const double gain = gains[static_cast<std::size_t>(afe)];
        const qxkit::Rectangle block{0, 32 * afe, 128, 32};
        EXPECT_NEAR(gain, (areaMean(frame, block) - areaMean(dark, block)) / 52000.0, 0.0005) << afe;
        if (afe > 0) {
            const double step = std::abs(gain / gains[static_cast<std::size_t>(afe - 1)] - 1.0);
            EXPECT_TRUE(step >= 0.0199 && step <= 0.0501) << step;
        }
    }
    const auto [low, high] = std::minmax_element(gains.begin(), gains.end());
    EXPECT_TRUE(*low >= 0.945 && *high <= 1.055) << *low << " " << *high;
    EXPECT_NEAR(1.005, panel.truth().response[128 * 1024] / panel.truth().response[127 * 1024], 1e-6);
    const auto signal = [&](const qxkit::Rectangle& half) { return areaMean(frame, half) - areaMean(dark, half); };
    EXPECT_NEAR(1.005, signal({128, 0, 128, 1024}) / signal({0, 0, 128, 1024}), 0.0003);
}

TEST(VirtualPanelFlat, spreads_about_its_expectation) {
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
}

TEST(VirtualPanelFlat, clips_at_both_ends) {
    const VirtualPanel panel(even(32, 32));
    FrameOptions options;
    options.level = 70000.0;
    const Frame16 bright = panel.flat(options);
    EXPECT_EQ(65535, *std::min_element(bright.pixels.begin(), bright.pixels.end()));
    options.addedLevels = {{{0, 0, 32, 32}, -90000.0}};
    const Frame16 black = panel.flat(options);
    EXPECT_EQ(0, *std::max_element(black.pixels.begin(), black.pixels.end()));
}

TEST(VirtualPanelOptions, act_on_their_area_alone) {
    const PanelParameters parameters = even(200, 120);
    const VirtualPanel panel(parameters);
    const auto change = [&](const std::function<void(FrameOptions&)>& set, int row, int column) {
        FrameOptions options;
        set(options);
        return panel.expectedRaw(options, row, column) - panel.expectedRaw({}, row, column);
    };
    const auto step = [&](FrameOptions& options) { options.addedLevels = {qxkit::stripStep(parameters, 64, 250.0)}; };
    EXPECT_NEAR(0.0, change(step, 119, 63), 1e-6);
    EXPECT_NEAR(250.0, change(step, 119, 64), 1e-6);
    EXPECT_NEAR(250.0, change(step, 0, 199), 1e-6);
    const auto corner = [](FrameOptions& options) { options.attenuators = {qxkit::collimatedCorner(10, 20, 0.25)}; };
    EXPECT_NEAR(-39000.0, change(corner, 9, 19), 0.1);
    EXPECT_NEAR(0.0, change(corner, 10, 19), 1e-6);
    EXPECT_NEAR(0.0, change(corner, 9, 20), 1e-6);
    const auto disc = [](FrameOptions& options) { options.attenuators = {{{10, 20, 11, 21}, 0.0, true}}; };
    EXPECT_NEAR(-52000.0, change(disc, 15, 20), 0.1);
    EXPECT_NEAR(-52000.0, change(disc, 10, 30), 0.1);
    EXPECT_NEAR(0.0, change(disc, 10, 20), 1e-6);
    const auto rows = [](FrameOptions& options) { options.noisyRows = 5, options.noisyRowCounts = 40.0; };
    EXPECT_NEAR(40.0, change(rows, 4, 7), 1e-6);
    EXPECT_NEAR(-40.0, change(rows, 3, 7), 1e-6);
    EXPECT_NEAR(0.0, change(rows, 5, 7), 1e-6);
}

std::vector<int> linesTimes(const std::vector<int>& starts, int count, int stride) {
    std::vector<int> pixels;
    for (const int start : starts) {
        for (int i = 0; i < count; ++i)
            pixels.push_back(start + i * stride);
    }
    return pixels;
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
    std::vector<int> rowStarts;
    for (const int row : defects.rows)
        rowStarts.push_back(row * kSize);
    const std::vector<int> rows = linesTimes(rowStarts, kSize, 1);
    const std::vector<int> columns = linesTimes(defects.columns, kSize, kSize);
    std::set<int> lines(rows.begin(), rows.end());
    lines.insert(columns.begin(), columns.end());
    std::vector<int> single(defects.points);
    std::copy_if(defects.clusters.begin(), defects.clusters.end(), std::back_inserter(single),
                 [](int pixel) { return pixel >= 0; });
    std::set<int> all(single.begin(), single.end());
    EXPECT_EQ(single.size(), all.size());
    EXPECT_TRUE(std::none_of(single.begin(), single.end(), [&](int pixel) { return lines.contains(pixel); }));
    all.insert(lines.begin(), lines.end());
    for (int i = 0; i < kSize * kSize; ++i) {
        const double response = panel.truth().response[static_cast<std::size_t>(i)];
        ASSERT_TRUE(all.contains(i) || (response > 0.85 && response < 1.15)) << i << " " << response;
    }
}

TEST(VirtualPanelDefects, show_in_the_frames) {
    constexpr int kSize = 400;
    const VirtualPanel panel(size(kSize, kSize));
    const Frame16 dark = panel.dark();
    const Frame16 flat = panel.flat();
    int dead = 0;
    int hot = 0;
    for (const int pixel : panel.truth().defects.points) {
        const int row = pixel / kSize;
        const int column = pixel % kSize;
        const double neighbour = at(dark, row, column == 0 ? 1 : column - 1);
        dead += at(flat, row, column) - at(dark, row, column) < 100.0 ? 1 : 0;
        hot += at(dark, row, column) - neighbour > 180.0 ? 1 : 0;
    }
    EXPECT_NEAR(240, dead, 60);
    EXPECT_NEAR(120, hot, 50);
    for (const qxkit::HalfColumn& half : panel.truth().halfColumns) {
        const qxkit::Rectangle area{half.firstRow, half.column, half.rowCount, 1};
        const int otherRow = half.firstRow == 0 ? half.rowCount : 0;
        const qxkit::Rectangle living{otherRow, half.column, kSize - half.rowCount, 1};
        EXPECT_NEAR(areaMean(dark, area), areaMean(flat, area), 5.0);
        EXPECT_GT(areaMean(flat, living), 40000.0);
    }
}

// Median over spread of the centred square, values beyond four sigma left out.
double snr(const Frame16& frame, int side) {
    std::vector<double> values;
    Spread raw;
    for (int row = (frame.height - side) / 2; row < (frame.height + side) / 2; ++row) {
        for (int column = (frame.width - side) / 2; column < (frame.width + side) / 2; ++column) {
            values.push_back(at(frame, row, column) - kPedestal);
            raw.add(values.back());
        }
    }
    Spread kept;
    for (const double value : values) {
        if (std::abs(value - raw.mean()) < 4.0 * raw.sigma())
            kept.add(value);
    }
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2] / kept.sigma();
}

TEST(VirtualPanelCorrectedFlat, has_the_pedestal_and_a_realistic_snr_series) {
    const VirtualPanel panel(size(1024, 1024));
    const Frame16 frame = panel.correctedFlat();
    EXPECT_NEAR(52000.0 + kPedestal, areaMean(frame, {0, 0, 1024, 1024}), 60.0);
    for (const int side : {64, 128, 256, 512, 768})
        EXPECT_NEAR(265.0, snr(frame, side), 12.0) << side;
    FrameOptions noisy;
    noisy.noiseScale = 2.0;
    EXPECT_NEAR(132.0, snr(panel.correctedFlat(noisy), 128), 6.0);
    FrameOptions shaded;
    shaded.residualShadingScale = 20.0;
    const Frame16 uneven = panel.correctedFlat(shaded);
    EXPECT_GT(snr(uneven, 64), 240.0);
    EXPECT_LT(snr(uneven, 768), 0.8 * snr(uneven, 64));
    FrameOptions unexposed;
    unexposed.level = 0.0;
    EXPECT_NEAR(kPedestal, areaMean(panel.correctedFlat(unexposed), {0, 0, 1024, 1024}), 0.5);
}

TEST(VirtualPanelAed, stripe_has_its_ratios_and_the_rest_is_clean) {
    const VirtualPanel panel(size(640, 200));
    qxkit::AedOptions options;
    options.triggerLine = 100;
    options.stripeRows = 8;
    options.stripeDepth = 0.4;
    options.referenceWidth = 700;
    options.exposure.attenuators = {{{0, 100, 200, 50}, 0.5, false}};
    const qxkit::AedFrame frame = panel.aed(options);
    EXPECT_EQ(92, frame.firstStripeRow);
    ASSERT_EQ(8U, frame.rowRatios.size());
    EXPECT_NEAR(0.95, frame.rowRatios.front(), 1e-12);
    EXPECT_NEAR(0.6, frame.rowRatios.back(), 1e-12);
    EXPECT_EQ(700, frame.reference.width);
    for (int row = 80; row < 120; ++row) {
        const int stripeRow = row - frame.firstStripeRow;
        const double ratio = stripeRow >= 0 && stripeRow < 8 ? frame.rowRatios[static_cast<std::size_t>(stripeRow)] : 1;
        for (int column = 0; column < 640; ++column) {
            const double clean = at(frame.clean, row, column) - kPedestal;
            ASSERT_NEAR(clean * ratio, at(frame.image, row, column) - kPedestal, ratio < 1.0 ? 1.01 : 0.0);
        }
        EXPECT_NEAR(8000.0 * ratio, areaMean(frame.reference, {row, 0, 1, 700}) - kPedestal, 30.0) << row;
    }
    EXPECT_NEAR(4000.0, areaMean(frame.clean, {0, 100, 200, 50}) - kPedestal, 15.0);
}

TEST(VirtualPanelAed, slope_starts_at_the_trigger_line) {
    const VirtualPanel panel(even(600, 200));
    qxkit::AedOptions options;
    options.triggerLine = 100;
    options.rowSlope = 5.0;
    const Frame16 clean = panel.aed(options).clean;
    EXPECT_NEAR(8000.0, areaMean(clean, {100, 0, 1, 600}) - kPedestal, 25.0);
    EXPECT_NEAR(495.0, areaMean(clean, {199, 0, 1, 600}) - areaMean(clean, {100, 0, 1, 600}), 35.0);
}

TEST(VirtualPanelNdt, sums_frames_beyond_sixteen_bits) {
    const VirtualPanel panel(even(128, 128));
    const qxkit::Frame32 dark = panel.ndtDark(100);
    const qxkit::Frame32 bright = panel.ndtBright(100);
    Spread darkNoise;
    Spread brightNoise;
    for (std::size_t i = 0; i < dark.pixels.size(); ++i) {
        const double pattern = 100.0 * panel.truth().dark[i];
        darkNoise.add(dark.pixels[i] - pattern);
        brightNoise.add(bright.pixels[i] - pattern - 5200000.0);
    }
    EXPECT_NEAR(5800.0, darkNoise.variance(), 400.0);
    EXPECT_NEAR(1.0, brightNoise.variance() / (100.0 * (58.0 + 0.75 * 52000.0)), 0.05);
    EXPECT_NEAR(0.0, brightNoise.mean(), 100.0);
    const qxkit::Frame32 object = panel.ndtObject(100);
    const std::vector<qxkit::Attenuator> phantom = qxkit::standardPhantom(panel.parameters());
    const double step = areaMean(object, phantom[3].area) - areaMean(dark, phantom[3].area);
    EXPECT_NEAR(phantom[3].transmission, step / 5200000.0, 0.001);
}

TEST(VirtualPanelNdt, takes_one_frame_at_least) {
    const VirtualPanel panel(size(20, 10));
    for (const int frameCount : {0, -1, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(panel.ndtDark(1).pixels, panel.ndtDark(frameCount).pixels) << frameCount;
        EXPECT_EQ(panel.ndtBright(1).pixels, panel.ndtBright(frameCount).pixels) << frameCount;
        EXPECT_EQ(panel.ndtObject(1).pixels, panel.ndtObject(frameCount).pixels) << frameCount;
        EXPECT_EQ(panel.averageDark(1).pixels, panel.averageDark(frameCount).pixels) << frameCount;
    }
}

TEST(VirtualPanelParameters, out_of_range_count_as_the_nearest_in_range) {
    constexpr int kLowest = std::numeric_limits<int>::min();
    constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
    PanelParameters parameters = size(20, 10);
    parameters.defectivePixelShare = -1e9;
    parameters.deadHalfColumns = parameters.deadRows = parameters.clusters = kLowest;
    parameters.variancePerCount = -5.0;
    parameters.temporalNoiseSigma = parameters.rowNoiseSigma = 0.0;
    const VirtualPanel clamped(parameters);
    PanelParameters none = flawless(20, 10);
    none.variancePerCount = none.temporalNoiseSigma = none.rowNoiseSigma = 0.0;
    const VirtualPanel panel(none);
    EXPECT_EQ(panel.flat().pixels, clamped.flat().pixels);
    EXPECT_EQ(panel.correctedFlat().pixels, clamped.correctedFlat().pixels);
    parameters.defectivePixelShare = kNoNumber;
    EXPECT_TRUE(VirtualPanel(parameters).truth().defects.points.empty());
    EXPECT_EQ(0U, VirtualPanel(size(kLowest, 5)).flat().pixels.size());

    FrameOptions options;
    options.attenuators = {{{kLowest, kLowest, 1, 1}, 0.0, true}, {{0, 0, -4, -4}, 0.0, true}};
    options.addedLevels = {qxkit::stripStep(none, std::numeric_limits<int>::max(), 9.0), {{9, 19, -1, -1}, 9.0}};
    options.noisyRows = kLowest;
    EXPECT_EQ(panel.flat().pixels, panel.flat(options).pixels);
    options.noiseScale = kNoNumber;
    EXPECT_EQ(std::vector<std::uint16_t>(200, 0), panel.flat(options).pixels);
    qxkit::AedOptions aed;
    aed.triggerLine = aed.stripeRows = kLowest;
    EXPECT_EQ(panel.aed(aed).clean.pixels, panel.aed(aed).image.pixels);
}

TEST(VirtualPanelSize, may_be_small_odd_or_empty) {
    for (const auto& [width, height] : {std::pair{0, 0}, {0, 5}, {1, 1}, {2, 3}, {7, 1}, {129, 33}}) {
        const VirtualPanel panel(size(width, height));
        EXPECT_EQ(static_cast<std::size_t>(width * height), panel.flat().pixels.size());
        EXPECT_EQ(static_cast<std::size_t>(width * height), panel.correctedFlat().pixels.size());
        EXPECT_EQ(static_cast<std::size_t>(width * height), panel.object().pixels.size());
    }
}

}  // namespace
