#include "peers/Peers.h"

#ifdef QX_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
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

Method openCvMedian5(const std::shared_ptr<const Image>& image) {
    return [image, pixels = view(*image), filtered = cv::Mat()]() mutable {
        cv::medianBlur(pixels, filtered, 5);
        return static_cast<double>(filtered.at<WORD>(0, 0));
    };
}

Method openCvEqualise8(const std::shared_ptr<const Image>& image) {
    cv::Mat bytes;
    view(*image).convertTo(bytes, CV_8U, 1.0 / 256);
    return [bytes, equalised = cv::Mat()]() mutable {
        cv::equalizeHist(bytes, equalised);
        return static_cast<double>(equalised.at<unsigned char>(0, 0));
    };
}

Method openCvResize(const std::shared_ptr<const Image>& image, int rows, int columns) {
    return [image, pixels = view(*image), size = cv::Size(columns, rows), resized = cv::Mat()]() mutable {
        cv::resize(pixels, resized, size, 0, 0, cv::INTER_CUBIC);
        return static_cast<double>(resized.at<WORD>(0, 0));
    };
}

#else

Method openCvMedian5(const std::shared_ptr<const Image>&) {
    return {};
}

Method openCvEqualise8(const std::shared_ptr<const Image>&) {
    return {};
}

Method openCvResize(const std::shared_ptr<const Image>&, int, int) {
    return {};
}

Method openCvMean(const std::shared_ptr<const Image>&) {
    return {};
}

Method openCvStdev(const std::shared_ptr<const Image>&) {
    return {};
}

#endif

}  // namespace qx::bench
