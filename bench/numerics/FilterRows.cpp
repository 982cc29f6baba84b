#include "Rows.h"
#include "harness/OwnImage.h"
#include "harness/StreamRead.h"
#include "peers/Peers.h"

#include "reference/numerics/PlainFilters.h"

#include <QxUtils/Numerics.h>

namespace {

using namespace qx::bench;

Row medianImageRow(const std::shared_ptr<const Image>& image) {
    const FloatImage out{image->width, image->height, std::vector<float>(image->pixels.size())};
    const auto by = [&](auto method) {
        return onOwnImage(
            out, [=](FloatImage& ratios) { method(ratios.data(), image->data(), image->width, image->height); });
    };
    return {.ours = by(getMedianImage),
            .plain = by(qx::plain::getMedianImage),
            .peerName = "SciPy 11 x 11 median",
            .peer = numpy("from scipy import ndimage\n"
                          "def measure(image): return float(ndimage.median_filter(image, size=11)[0, 0])",
                          image),
            .peerIsCompared = false,
            .limitName = "read + write",
            .limit = onOwnImage(out, [=](FloatImage& ratios) {
                streamRead(image->data(), byteCount(*image));
                streamUpdate(ratios.data(), byteCount(ratios));
            })};
}

Row columnMedianRow(const std::shared_ptr<const Image>& image, std::string peerName, const Method& peer) {
    const auto by = [&](auto method) {
        return onOwnImage(*image, [=](Image& own) { method(own.pixels.data(), own.width, own.height); });
    };
    return {.ours = by(filterImg),
            .plain = by(qx::plain::filterImg),
            .peerName = std::move(peerName),
            .peer = peer,
            .peerIsCompared = false,
            .limitName = "read-modify-write",
            .limit = onOwnImage(*image, [](Image& own) { streamUpdate(own.pixels.data(), byteCount(own)); })};
}

// An equalised image uses more of the memory for counts and levels; the peers write another image.
Row equalisationRow(const std::shared_ptr<const Image>& image, std::string peerName, const Method& peer) {
    const auto by = [&](auto method) {
        return onFreshImage(image, [=](Image& own) { method(own.pixels.data(), pixelCount(own)); });
    };
    return {.ours = by(hisEqualization),
            .plain = by(qx::plain::hisEqualization),
            .peerName = std::move(peerName),
            .peer = peer,
            .peerIsCompared = false,
            .limitName = "read + read-modify-write",
            .limit = onOwnImage(*image, [](Image& own) {
                streamRead(own.data(), byteCount(own));
                streamUpdate(own.pixels.data(), byteCount(own));
            })};
}

constexpr char kNumpyEqualisation[] = R"(
def measure(image):
    counts = np.bincount(image.ravel(), minlength=65536)
    levels = (np.cumsum(counts) / image.size * 65535.0).astype(np.uint16)
    return float(levels[image][0, 0])
)";

// As of one long row of a noisy image.
using Samples = std::shared_ptr<const FloatImage>;

Samples noisySamples(int count) {
    return std::make_shared<const FloatImage>(floatFlatField(count, 1));
}

// Widest windows leave every other method running for minutes or years.
Row widestMedianRow(const Samples& samples, int half) {
    return {.ours = onFreshImage(samples, [=](FloatImage& own) { medianFilter(own.data(), own.width, half); }),
            .limitName = "a copy",
            .limit = onOwnImage(*samples, [=](FloatImage& own) { own.pixels = samples->pixels; })};
}

Row wideMedianRow(const Samples& samples, int half) {
    Row row = widestMedianRow(samples, half);
    const std::string source = "from scipy import ndimage\n"
                               "def measure(samples): return float(ndimage.median_filter(samples[0], size=" +
                               std::to_string(2 * half + 1) + ")[0])";
    row.peerName = "SciPy median_filter";
    row.peer = numpy(source.c_str(), samples);
    row.peerIsCompared = false;
    return row;
}

Row sampleMedianRow(const Samples& samples, int half) {
    Row row = wideMedianRow(samples, half);
    // Filtered samples would be sorted sooner.
    row.plain = onFreshImage(samples, [=](FloatImage& own) { qx::plain::medianFilter(own.data(), own.width, half); });
    return row;
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::filterRows() {
    const auto image = [](const Scale& scale) { return flatField(scale.pick(3072, 150)); };
    constexpr char kScipyColumns[] =
        "from scipy import ndimage\n"
        "def measure(image): return float(ndimage.median_filter(image, size=(5, 1))[0, 0])";
    return {
        {"getMedianImage 3072 x 3072", [=](const Scale& scale) { return medianImageRow(image(scale)); }},
        {"getMedianImage against a smaller window",
         [=](const Scale& scale) {
             const auto field = image(scale);
             return besideOtherPeer(medianImageRow(field), "cv::medianBlur 5 x 5", openCvMedian5(field));
         }},
        {"filterImg 3072 x 3072",
         [=](const Scale& scale) {
             const auto field = image(scale);
             return columnMedianRow(field, "SciPy 5 x 1 median", numpy(kScipyColumns, field));
         }},
        {"filterImg against a larger window",
         [=](const Scale& scale) {
             const auto field = image(scale);
             return columnMedianRow(field, "cv::medianBlur 5 x 5", openCvMedian5(field));
         }},
        {"medianFilter 10^6 samples, r = 2",
         [](const Scale& scale) { return sampleMedianRow(noisySamples(scale.pick(1'000'000, 2000)), 2); }},
        {"medianFilter 10^6 samples, r = 25",
         [](const Scale& scale) { return sampleMedianRow(noisySamples(scale.pick(1'000'000, 2000)), 25); }},
        {"medianFilter 10^6 samples, r = 1000",
         [](const Scale& scale) { return wideMedianRow(noisySamples(scale.pick(1'000'000, 5000)), 1000); }},
        {"medianFilter 10^6 samples, r = 10,000",
         [](const Scale& scale) { return widestMedianRow(noisySamples(scale.pick(1'000'000, 50'000)), 10'000); }},
        {"hisEqualization 3072 x 3072",
         [=](const Scale& scale) {
             const auto field = image(scale);
             return equalisationRow(field, "NumPy", numpy(kNumpyEqualisation, field));
         }},
        {"hisEqualization 3072 x 3072, uniformly random",
         [=](const Scale& scale) {
             const auto field = uniformPixels(scale.pick(3072, 150));
             return equalisationRow(field, "NumPy", numpy(kNumpyEqualisation, field));
         }},
        {"hisEqualization 3072 x 3072, half saturated",
         [=](const Scale& scale) {
             const auto field = halfSaturated(scale.pick(3072, 150));
             return equalisationRow(field, "NumPy", numpy(kNumpyEqualisation, field));
         }},
        {"hisEqualization 3072 x 3072, constant",
         [=](const Scale& scale) {
             const auto field = constantField(scale.pick(3072, 150));
             return equalisationRow(field, "NumPy", numpy(kNumpyEqualisation, field));
         }},
        {"hisEqualization against 8 bits",
         [=](const Scale& scale) {
             const auto field = image(scale);
             return equalisationRow(field, "cv::equalizeHist, 8 bits", openCvEqualise8(field));
         }},
    };
}
