#include "Rows.h"
#include "harness/Images.h"
#include "harness/StreamRead.h"
#include "peers/Peers.h"

#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Numerics.h>

namespace {

using namespace qx::bench;

constexpr int kBins = 65536;

constexpr const char* kNumpyHistogramMedian = R"(
def measure(image):
    counts = np.bincount(image.ravel(), minlength=65536)
    return np.searchsorted(np.cumsum(counts), image.size // 2)
)";

Row histogramMedianRow(const std::shared_ptr<const Image>& image) {
    const std::vector<int> histogram(kBins);
    return {.ours =
                [image, hist = histogram]() mutable {
                    return getHisMedian(image->data(), pixelCount(*image), hist.data(), kBins);
                },
            .plain =
                [image, hist = histogram]() mutable {
                    return qx::plain::getHisMedian(image->data(), pixelCount(*image), hist.data(), kBins);
                },
            .peerName = "numpy.bincount",
            .peer = numpy(kNumpyHistogramMedian, image),
            .limitName = "one read",
            .limit = [image] { return streamRead(image->data(), byteCount(*image)); }};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::histogramRows() {
    return {
        {"getHisMedian WORD 3072 x 3072, 65,536 bins",
         [](const Scale& scale) { return histogramMedianRow(flatField(scale.pick(3072, 300))); }},
        {"getHisMedian WORD 3072 x 3072, uniformly random",
         [](const Scale& scale) { return histogramMedianRow(uniformPixels(scale.pick(3072, 300))); }},
        {"getHisMedian WORD 3072 x 3072, half saturated",
         [](const Scale& scale) { return histogramMedianRow(halfSaturated(scale.pick(3072, 300))); }},
        {"getHisMedian WORD 3072 x 3072, constant",
         [](const Scale& scale) { return histogramMedianRow(constantField(scale.pick(3072, 300))); }},
    };
}
