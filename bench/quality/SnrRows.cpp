#include "Rows.h"
#include "harness/Images.h"
#include "harness/StreamRead.h"
#include "peers/Peers.h"

#include "reference/quality/PlainSnr.h"

#include <QxUtils/Quality.h>

namespace {

using namespace qx::bench;

// NumPy's median averages the two middle values, its deviation is about the mean itself.
constexpr double kNumpyTolerance = 0.01;

constexpr const char* kNumpySnr = R"(
def measure(image):
    height, width = image.shape
    signal = image.astype(np.int32) - 208
    series = []
    for k in range((min(height, width) - 12) // 256 + 2):
        side = (64, 128)[k] if k < 2 else 256 * (k - 1)
        top, left = (height - side) // 2, (width - side) // 2
        square = signal[top:top + side, left:left + side]
        median = np.median(square)
        outliers = np.abs(square - median) >= 4 * np.std(square)
        square = np.where(outliers, median, square)
        series.append(float(np.median(square) / np.std(square)))
    return series
)";

std::vector<float> oursOf(const Image& image) {
    std::vector<float> series(static_cast<std::size_t>(qx::plain::snrCount(image.width, image.height)));
    const int status = calcGlobalSNR(image.data(), image.width, image.height, series);
    return status == 0 ? series : std::vector<float>();
}

Row snrRow(const std::shared_ptr<const Image>& image) {
    return {.ours = [image] { return oursOf(*image); },
            .plain = [image] { return qx::plain::snrSeries(image->data(), image->width, image->height); },
            .peerName = "numpy.median and std",
            .peer = numpy(kNumpySnr, image),
            .peerTolerance = kNumpyTolerance,
            .limitName = "one read",
            .limit = [image] { return streamRead(image->data(), byteCount(*image)); }};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::snrRows() {
    return {
        {"calcGlobalSNR 3072 x 3072, flat field",
         [](const Scale& scale) { return snrRow(flatField(scale.pick(3072, 300))); }},
        {"calcGlobalSNR 3072 x 3072, uniformly random",
         [](const Scale& scale) { return snrRow(uniformPixels(scale.pick(3072, 300))); }},
        {"calcGlobalSNR 3072 x 3072, half saturated",
         [](const Scale& scale) { return snrRow(halfSaturated(scale.pick(3072, 300))); }},
        {"calcGlobalSNR 3072 x 3072, constant",
         [](const Scale& scale) {
             Row row = snrRow(constantField(scale.pick(3072, 300)));
             // All its ratios are infinite, which have no difference.
             row.peerIsCompared = false;
             return row;
         }},
    };
}
