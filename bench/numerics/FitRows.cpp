#include "Rows.h"
#include "harness/Images.h"
#include "harness/Quadric.h"
#include "harness/SilentOutput.h"
#include "harness/StreamRead.h"
#include "peers/Peers.h"

#include "reference/numerics/PlainFits.h"

#include <QxUtils/Numerics.h>

#include <array>

namespace {

using namespace qx::bench;
using Pixels = std::shared_ptr<const FloatImage>;

// The decompositions round differently, in single precision: a few counts of 15,000.
constexpr double kEigenTolerance = 1e-3;
// What the coefficients of the orthogonal fit are promised to.
constexpr double kCoefficientTolerance = 1e-5;

constexpr const char* kNumpyLeastSquares = R"(
def measure(image):
    height, width = image.shape
    rows, columns = np.mgrid[:height, :width]
    u = rows.ravel() - (height - 1) / 2
    v = columns.ravel() - (width - 1) / 2
    design = np.stack([u**i * v**j for i in range(3) for j in range(3)], axis=1)
    return np.linalg.lstsq(design, image.ravel(), rcond=None)[0].tolist()
)";

// Medians of 32 x 32 blocks under a tube that does not stand above the middle.
Pixels illumination(int side) {
    constexpr double kPeak = 15000;
    constexpr double kFallOff = 2e-5;
    constexpr double kTwist = 3e-6;
    constexpr double kNoise = 5;
    FloatImage image{side, side, {}};
    qx::test::SplitMix64 random(6);
    for (int row = 0; row < side; ++row) {
        for (int column = 0; column < side; ++column) {
            const double x = column - 0.55 * side;
            const double y = row - 0.46 * side;
            const double level = kPeak * (1 - kFallOff * (x * x + y * y) - kTwist * (x + 20) * y);
            image.pixels.push_back(static_cast<float>(level + kNoise * random.gaussian()));
        }
    }
    return std::make_shared<const FloatImage>(std::move(image));
}

struct Fit {
    std::array<float, 6> model{};
    std::array<float, 9> table{};
    std::array<float, 3> residuals{};
    float quality = 0;
};

template <class SurfaceFit>
Fit fitSurface(const FloatImage& image, SurfaceFit surfaceFit) {
    Fit fit;
    surfaceFit(fit.model.data(), 0, fit.quality, image.data(), image.width, image.height, fit.table.data(),
               fit.residuals.data());
    return fit;
}

template <class SurfaceFit>
Method quadric(const Pixels& image, SurfaceFit surfaceFit) {
    return [=] {
        const Fit fit = fitSurface(*image, surfaceFit);
        const auto& t = fit.table;
        return heightsOfQuadric(std::array{t[0], t[3], t[1], t[4], t[6], t[2]}, *image);
    };
}

template <class SurfaceFit>
Method tensor(const Pixels& image, SurfaceFit surfaceFit) {
    return [=] {
        const Fit fit = fitSurface(*image, surfaceFit);
        return std::vector<float>(fit.table.begin(), fit.table.end());
    };
}

Row generalFormulaRow(const Pixels& image) {
    return {.ours = quadric(image, doSurfaceFitUsingGeneralFormula),
            .plain = quadric(image, qx::plain::doSurfaceFitUsingGeneralFormula),
            .peerName = "Eigen::BDCSVD",
            .peer = eigenQuadric(image),
            .peerTolerance = kEigenTolerance};
}

// Ours prints its result as well.
Row surfaceFitRow(const Pixels& image) {
    return {.ours = tensor(image, doSurfaceFit),
            .plain = tensor(image, qx::plain::doSurfaceFit),
            .plainTolerance = kCoefficientTolerance,
            .limitName = "read",
            .limit = [=] { return streamRead(image->data(), byteCount(*image)); },
            .keepAlive = std::make_shared<SilentOutput>()};
}

// NumPy's design matrix of a whole image would take 650 MB.
Row smallSurfaceFitRow(const Pixels& image) {
    Row row = surfaceFitRow(image);
    row.peerName = "numpy.linalg.lstsq";
    row.peer = numpy(kNumpyLeastSquares, image);
    row.peerTolerance = kCoefficientTolerance;
    row.limitName = {};
    row.limit = {};
    return row;
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::fitRows() {
    return {
        {"doSurfaceFitUsingGeneralFormula 88 x 88",
         [](const Scale& scale) { return generalFormulaRow(illumination(scale.pick(88, 20))); }},
        {"doSurfaceFit 96 x 96",
         [](const Scale& scale) { return smallSurfaceFitRow(illumination(scale.pick(96, 20))); }},
        {"doSurfaceFit 3072 x 3072",
         [](const Scale& scale) { return surfaceFitRow(illumination(scale.pick(3072, 40))); }},
    };
}
