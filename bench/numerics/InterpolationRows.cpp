#include "Rows.h"
#include "harness/OwnImage.h"
#include "harness/StreamRead.h"
#include "peers/Peers.h"

#include "reference/numerics/PlainSpline.h"

#include <QxUtils/Numerics.h>

namespace {

using namespace qx::bench;

// Double precision rounds a few values to the other neighbour.
constexpr double kOneCount = 1e-4;

struct Resampling {
    std::shared_ptr<const Image> image;
    Image out;

    Resampling(const Scale& scale)
        : image(flatField(scale.pick(3072, 150))), out{image->width * 3 / 4, image->height * 11 / 12, {}} {
        out.pixels.resize(static_cast<std::size_t>(out.width) * static_cast<std::size_t>(out.height));
    }
};

Row resamplingRow(const Resampling& work) {
    const auto& image = work.image;
    return {.ours = onOwnImage(work.out,
                               [image](Image& out) {
                                   interpImg2D(reinterpret_cast<WORD**>(out.pixels.data()), out.height, out.width,
                                               reinterpret_cast<WORD**>(const_cast<WORD*>(image->data())),
                                               image->height, image->width);
                               }),
            .plain = onOwnImage(work.out,
                                [image](Image& out) {
                                    qx::plain::interpImg2D(out.pixels.data(), out.height, out.width, image->data(),
                                                           image->height, image->width);
                                }),
            .peerName = "GSL cspline",
            .peer = gslSplines(image, work.out.height, work.out.width),
            .peerTolerance = kOneCount,
            .limitName = "read + write",
            .limit = onOwnImage(work.out, [image](Image& out) {
                streamRead(image->data(), byteCount(*image));
                streamUpdate(out.pixels.data(), byteCount(out));
            })};
}

Method scipyZoom(const Resampling& work) {
    const std::string source = "from scipy import ndimage\n"
                               "def measure(image):\n"
                               "    factors = (" +
                               std::to_string(work.out.height) + " / image.shape[0], " +
                               std::to_string(work.out.width) +
                               " / image.shape[1])\n"
                               "    return float(ndimage.zoom(image, factors, order=3, mode='nearest')[0, 0])";
    return numpy(source.c_str(), work.image);
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::interpolationRows() {
    return {
        {"interpImg2D 3072 x 3072 to 2304 x 2816", [](const Scale& scale) { return resamplingRow(scale); }},
        {"interpImg2D against zoom",
         [](const Scale& scale) {
             const Resampling work(scale);
             return besideOtherPeer(resamplingRow(work), "SciPy zoom, order 3", scipyZoom(work));
         }},
        {"interpImg2D against a smaller filter",
         [](const Scale& scale) {
             const Resampling work(scale);
             return besideOtherPeer(resamplingRow(work), "cv::resize, cubic",
                                    openCvResize(work.image, work.out.height, work.out.width));
         }},
    };
}
