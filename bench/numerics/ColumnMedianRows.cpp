#include "Rows.h"
#include "harness/Images.h"
#include "harness/StreamRead.h"
#include "peers/Peers.h"

#include "reference/correction/PlainAfe.h"
#include "reference/numerics/PlainFits.h"

#include <QxUtils/Numerics.h>

#include <algorithm>
#include <functional>

namespace {

using namespace qx::bench;
using Pixels = std::shared_ptr<const FloatImage>;

// NumPy's median averages the two middle values.
constexpr double kNumpyTolerance = 1e-4;

constexpr const char* kNumpyMedians = R"(
def measure(image):
    return np.median(image, axis=0).tolist()
)";

Pixels flatPixels(int side) {
    return std::make_shared<const FloatImage>(floatFlatField(side, side));
}

// What the AFE balance takes the medians of: one column for each boundary between AFEs of 32 columns.
Pixels neighbourRatios(int side) {
    constexpr int kAfeWidth = 32;
    const FloatImage image = floatFlatField(side, side);
    const int boundaries = side / kAfeWidth - 1;
    FloatImage ratios{boundaries, side, std::vector<float>(static_cast<std::size_t>(boundaries) * side)};
    qx::plain::calcNeighbourAFERatio(ratios.data(), boundaries, image.data(), side, side, kAfeWidth);
    return std::make_shared<const FloatImage>(std::move(ratios));
}

std::vector<float> selectPerColumn(const FloatImage& image) {
    std::vector<float> medians;
    std::vector<float> column(static_cast<std::size_t>(image.height));
    const auto middle = column.begin() + image.height / 2;
    for (int x = 0; x < image.width; ++x) {
        for (int y = 0; y < image.height; ++y)
            column[static_cast<std::size_t>(y)] = image.data()[static_cast<std::ptrdiff_t>(y) * image.width + x];
        std::nth_element(column.begin(), middle, column.end(), std::greater<>());
        medians.push_back(*middle);
    }
    return medians;
}

template <class PerColumn>
Method medians(const Pixels& image, PerColumn perColumn) {
    return [image, perColumn, out = std::vector<float>(static_cast<std::size_t>(image->width))]() mutable {
        perColumn(out.data(), image->data(), image->width, image->height);
        return out;
    };
}

Row againstNumpy(const Pixels& image) {
    return {.ours = medians(image, calcMedianPerColumn),
            .peerName = "numpy.median(axis=0)",
            .peer = numpy(kNumpyMedians, image),
            .peerTolerance = kNumpyTolerance,
            .limitName = "one read",
            .limit = [image] { return streamRead(image->data(), byteCount(*image)); }};
}

Row againstSelection(const Pixels& image) {
    Row row = againstNumpy(image);
    row.plain = medians(image, qx::plain::calcMedianPerColumn);
    row.peerName = "std::nth_element";
    row.peer = [image] { return selectPerColumn(*image); };
    row.peerTolerance = 0;
    return row;
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::columnMedianRows() {
    return {
        {"calcMedianPerColumn 95 x 3072",
         [](const Scale& scale) { return againstSelection(neighbourRatios(scale.pick(3072, 300))); }},
        {"calcMedianPerColumn 95 x 3072, against NumPy",
         [](const Scale& scale) { return againstNumpy(neighbourRatios(scale.pick(3072, 300))); }},
        {"calcMedianPerColumn 3072 x 3072",
         [](const Scale& scale) { return againstSelection(flatPixels(scale.pick(3072, 300))); }},
        {"calcMedianPerColumn 3072 x 3072, against NumPy",
         [](const Scale& scale) { return againstNumpy(flatPixels(scale.pick(3072, 300))); }},
    };
}
