#include "Rows.h"
#include "harness/HeldDetector.h"
#include "harness/Images.h"
#include "harness/StreamRead.h"
#include "peers/Peers.h"
#include "peers/Selection.h"
#include "quality/dark/RowSteps.h"

#include "reference/quality/PlainUniformity.h"

#include <QxUtils/Quality.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

namespace {

using namespace qx::bench;
using Pixels = std::shared_ptr<const Image>;

constexpr int kStrip = 32;
constexpr int kUneven = 1062;

// Images just beyond a limit, so that the verdict is one that a wrong measurement would miss.

constexpr int kStripLimit = 400;
constexpr int kDarkFloor = 1420;
constexpr float kRowLimit = 3.0f;

constexpr const char* kNumpyStrips = R"(
def measure(image):
    height, width = image.shape
    strips = (width - 1) // 32
    means = image[:, :strips * 32].reshape(height, strips, 32).mean(axis=(0, 2))
    return 1063 if np.any(np.abs(np.diff(means)) >= 400) else 0
)";

constexpr const char* kNumpyDarkLevel = R"(
def measure(image):
    height, width = image.shape
    strips = (width - 1) // 32
    means = image[:, :strips * 32].reshape(height, strips, 32).mean(axis=(0, 2))
    first = int(np.argmin(means)) * 32
    strip = image[:, first:first + 32]
    return 1066 if 1420 >= int(strip.mean()) - 3 * strip.std() else 0
)";

constexpr const char* kNumpyRowSteps = R"(
def measure(image):
    return np.count_nonzero(np.abs(np.diff(image.mean(axis=1))) >= 3)
)";

// A row mean that is rounded otherwise may move a step across the limit.
constexpr double kNumpyStepTolerance = 0.01;

void addToStrip(Image& image, int strip, int counts) {
    for (int row = 0; row < image.height; ++row)
        for (int column = strip * kStrip; column < (strip + 1) * kStrip; ++column)
            image.at(row, column) = static_cast<WORD>(image.at(row, column) + counts);
}

// One strip is 1 % brighter.
Pixels stripedField(int side) {
    Image image = *flatField(side);
    addToStrip(image, side / kStrip / 2, 520);
    return std::make_shared<const Image>(std::move(image));
}

// One strip is 10 counts darker: 1490 - 3 * 25 lies below the limit, 1500 - 3 * 25 does not.
Pixels darkField(int side) {
    Image image = qx::test::flatImage(side, side, 1500.5, 25, 8);
    addToStrip(image, side / kStrip / 2, -10);
    return std::make_shared<const Image>(std::move(image));
}

// An average dark image in which the rows share a part of the noise.
std::shared_ptr<const FloatImage> rowNoise(int side) {
    FloatImage image{side, side, {}};
    qx::test::SplitMix64 random(9);
    for (int row = 0; row < side; ++row) {
        const double level = 1500 + 3 * random.gaussian();
        for (int column = 0; column < side; ++column)
            image.pixels.push_back(static_cast<float>(level + 7 * random.gaussian()));
    }
    return std::make_shared<const FloatImage>(std::move(image));
}

// More than three blocks lie beyond it, by as little as can be.
float limitBelowFourBlocks(const Image& image) {
    std::vector<float> deviations = qx::plain::blockDeviations(image.data(), image.width, image.height);
    std::ranges::nth_element(deviations, deviations.begin() + 3, std::greater<>());
    return std::nextafter(deviations[3], 0.0f);
}

int uniformityBySelection(const Image& image, float limit) {
    constexpr int kSide = 64;
    constexpr int kBorder = 2;
    const WORD* first = image.data() + static_cast<std::ptrdiff_t>(kBorder * kSide) * image.width + kBorder * kSide;
    const std::vector<float> medians = blockMediansBySelection(first, image.width, image.width / kSide - 2 * kBorder,
                                                               image.height / kSide - 2 * kBorder, kSide);
    const double sum = std::accumulate(medians.begin(), medians.end(), 0.0);
    const auto mean = static_cast<float>(sum / static_cast<double>(medians.size()));
    const auto beyond =
        std::ranges::count_if(medians, [=](float median) { return std::fabs(median - mean) / mean > limit; });
    return beyond > 3 ? kUneven : 0;
}

Row globalUniformRow(const Pixels& image) {
    const float limit = limitBelowFourBlocks(*image);
    return {.ours = [=] { return checkGlobalUniform(image->data(), image->width, image->height, limit); },
            .plain = [=] { return qx::plain::checkGlobalUniform(image->data(), image->width, image->height, limit); },
            .peerName = "std::nth_element",
            .peer = [=] { return uniformityBySelection(*image, limit); },
            .limitName = "one read",
            .limit = [=] { return streamRead(image->data(), byteCount(*image)); }};
}

Row stripRow(const Pixels& image) {
    const auto detector = std::make_shared<HeldDetector>();
    qxkit::virtualDetector().config.stripMeanDiffLimit = kStripLimit;
    return {.ours = [=] { return analysisStrip(image->data(), image->width, image->height); },
            .plain = [=] { return qx::plain::analysisStrip(image->data(), image->width, image->height, kStripLimit); },
            .peerName = "numpy.mean",
            .peer = numpy(kNumpyStrips, image),
            .limitName = "one read",
            .limit = [=] { return streamRead(image->data(), byteCount(*image)); },
            .keepAlive = detector};
}

Row darkLevelRow(const Pixels& image) {
    const auto detector = std::make_shared<HeldDetector>();
    qxkit::virtualDetector().config.darkLevelFloor = kDarkFloor;
    return {
        .ours = [=] { return darkImgGrayAnalysis(image->data(), image->width, image->height); },
        .plain = [=] { return qx::plain::darkImgGrayAnalysis(image->data(), image->width, image->height, kDarkFloor); },
        .peerName = "numpy.mean and std",
        .peer = numpy(kNumpyDarkLevel, image),
        .limitName = "one read",
        .limit = [=] { return streamRead(image->data(), byteCount(*image)); },
        .keepAlive = detector};
}

// As analysisRcn hands in what it reads from its file.
int countRowSteps(const FloatImage& image) {
    qx::RowSteps steps(image.width);
    for (int row = 0; row < image.height; row += qx::RowSteps::kRows)
        steps.add(image.data() + static_cast<std::ptrdiff_t>(row) * image.width,
                  std::min(qx::RowSteps::kRows, image.height - row));
    return steps.count();
}

Row rowStepRow(const std::shared_ptr<const FloatImage>& image) {
    const auto detector = std::make_shared<HeldDetector>();
    qxkit::virtualDetector().config.rcnRowDiffLimit = kRowLimit;
    return {.ours = [=] { return countRowSteps(*image); },
            .plain = [=] { return qx::plain::countRowSteps(image->data(), image->width, image->height, kRowLimit); },
            .peerName = "numpy.mean",
            .peer = numpy(kNumpyRowSteps, image),
            .peerTolerance = kNumpyStepTolerance,
            .limitName = "one read",
            .limit = [=] { return streamRead(image->data(), byteCount(*image)); },
            .keepAlive = detector};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::uniformityRows() {
    return {
        {"checkGlobalUniform 3072 x 3072",
         [](const Scale& scale) { return globalUniformRow(flatField(scale.pick(3072, 600))); }},
        {"analysisStrip 3072 x 3072", [](const Scale& scale) { return stripRow(stripedField(scale.pick(3072, 300))); }},
        {"darkImgGrayAnalysis 3072 x 3072",
         [](const Scale& scale) { return darkLevelRow(darkField(scale.pick(3072, 300))); }},
        {"analysisRcn 3072 x 3072 floats, without the file",
         [](const Scale& scale) { return rowStepRow(rowNoise(scale.pick(3072, 300))); }},
    };
}
