#include "peers/Peers.h"

#ifdef QX_BENCH_OPENCV
#include <opencv2/core.hpp>
#endif

namespace qx::bench {

#ifdef QX_BENCH_OPENCV

namespace {

cv::Mat view(const Image& image) {
    cv::setNumThreads(1);
    return {image.height, image.width, CV_16UC1, const_cast<WORD*>(image.data())};
}

}  // namespace

Method openCvMean(const std::shared_ptr<const Image>& image) {
    return [image, pixels = view(*image)] { return cv::mean(pixels)[0]; };
}

Method openCvStdev(const std::shared_ptr<const Image>& image) {
    return [image, pixels = view(*image)] {
        cv::Scalar mean, stdev;
        cv::meanStdDev(pixels, mean, stdev);
        return stdev[0];
    };
}

#else

Method openCvMean(const std::shared_ptr<const Image>&) {
    return {};
}

Method openCvStdev(const std::shared_ptr<const Image>&) {
    return {};
}

#endif

}  // namespace qx::bench
