#include "harness/Quadric.h"
#include "peers/Peers.h"

#ifdef QX_BENCH_EIGEN
#include <Eigen/SVD>
#endif

namespace qx::bench {

#ifdef QX_BENCH_EIGEN

namespace {

constexpr int kTerms = 6;

Eigen::MatrixXf designOf(const FloatImage& image) {
    Eigen::MatrixXf design(static_cast<Eigen::Index>(image.pixels.size()), kTerms);
    Eigen::Index pixel = 0;
    for (int row = 0; row < image.height; ++row) {
        for (int column = 0; column < image.width; ++column) {
            const auto x = static_cast<float>(column - image.width / 2);
            const auto y = static_cast<float>(row - image.height / 2);
            design.row(pixel++) << 1.0f, x, y, x * y, x * x, y * y;
        }
    }
    return design;
}

}  // namespace

Method eigenQuadric(const std::shared_ptr<const FloatImage>& image) {
    return [image] {
        const Eigen::MatrixXf design = designOf(*image);
        const Eigen::Map<const Eigen::VectorXf> values(image->data(), design.rows());
        const Eigen::BDCSVD<Eigen::MatrixXf> decomposition(design, Eigen::ComputeThinU | Eigen::ComputeThinV);
        const Eigen::VectorXf c = decomposition.solve(values);
        return heightsOfQuadric(std::span<const float, kTerms>(c.data(), kTerms), *image);
    };
}

#else

Method eigenQuadric(const std::shared_ptr<const FloatImage>&) {
    return {};
}

#endif

}  // namespace qx::bench
