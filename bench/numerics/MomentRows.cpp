#include "Rows.h"
#include "harness/Images.h"
#include "harness/StreamRead.h"
#include "peers/Peers.h"

#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Numerics.h>

namespace {

using namespace qx::bench;

// The peer's deviation is about the mean itself, ours about its whole part.
constexpr double kStdevTolerance = 1e-4;
constexpr double kRoundingTolerance = 1e-12;

Row stdevRow(const std::shared_ptr<const Image>& image) {
    return {.ours = [image] { return getStdev(image->data(), image->width, image->height); },
            .plain = [image] { return qx::plain::getStdev(image->data(), image->width, image->height); },
            .peerName = "cv::meanStdDev",
            .peer = openCvStdev(image),
            .peerTolerance = kStdevTolerance,
            .limitName = "one read",
            .limit = [image] { return streamRead(image->data(), byteCount(*image)); }};
}

Row meanRow(const std::shared_ptr<const Image>& image) {
    return {.ours = [image] { return getMean(image->data(), pixelCount(*image)); },
            .plain = [image] { return qx::plain::getMean(image->data(), pixelCount(*image)); },
            .peerName = "cv::mean",
            .peer = openCvMean(image),
            .peerTolerance = kRoundingTolerance,
            .limitName = "one read",
            .limit = [image] { return streamRead(image->data(), byteCount(*image)); }};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::momentRows() {
    return {
        {"getStdev WORD 3072 x 3072, flat field",
         [](const Scale& scale) { return stdevRow(flatField(scale.pick(3072, 300))); }},
        {"getStdev WORD 3072 x 3072, uniformly random",
         [](const Scale& scale) { return stdevRow(uniformPixels(scale.pick(3072, 300))); }},
        {"getMean WORD 3072 x 3072", [](const Scale& scale) { return meanRow(flatField(scale.pick(3072, 300))); }},
    };
}
