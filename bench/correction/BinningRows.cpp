#include "Rows.h"
#include "harness/Images.h"
#include "harness/StreamRead.h"
#include "peers/Selection.h"

#include "reference/correction/PlainAfe.h"

#include <QxUtils/Correction.h>

namespace {

using namespace qx::bench;

constexpr int kBlockSide = 32;

template <class Bin>
Method binning(const std::shared_ptr<const FloatImage>& image, Bin bin) {
    const int blocks = (image->width / kBlockSide) * (image->height / kBlockSide);
    return [image, bin, out = std::vector<float>(static_cast<std::size_t>(blocks))]() mutable {
        bin(out.data(), image->data(), image->width, image->height);
        return out;
    };
}

Row binningRow(int side) {
    const auto image = std::make_shared<const FloatImage>(floatFlatField(side, side));
    return {.ours = binning(image, doBinningSample),
            .plain = binning(image, qx::plain::doBinningSample),
            .peerName = "std::nth_element",
            .peer =
                [image] {
                    return blockMediansBySelection(image->data(), image->width, image->width / kBlockSide,
                                                   image->height / kBlockSide, kBlockSide);
                },
            .limitName = "one read",
            .limit = [image] { return streamRead(image->data(), byteCount(*image)); }};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::binningRows() {
    return {
        {"doBinningSample 3072 x 3072 floats", [](const Scale& scale) { return binningRow(scale.pick(3072, 300)); }},
    };
}
