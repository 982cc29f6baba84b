#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "kernels/PixelKernels.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

using qx::NarrowMoments;

constexpr std::size_t kCentreSamples = 256;

// Checks the arguments that the deviations share. False when `result` is the answer already.
bool countElements(const void* image, int width, int height, int& count, float& result) {
    if (image == nullptr) {
        result = StatusNullArgument;
        return false;
    }
    if (qx::isImageSize(width, height)) {
        count = width * height;
        return true;
    }
    const bool empty = width < 1 || height < 1;
    result = empty ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(StatusWrongParameter);
    return false;
}

float rootOfMean(double squares, int count) {
    return static_cast<float>(std::sqrt(squares / count));
}

template <class T>
float meanInSingle(const T* data, int count) {
    double sum = 0;
    for (int i = 0; i < count; ++i)
        sum += static_cast<double>(data[i]);
    return static_cast<float>(sum / count);
}

// Sums squares in order; deviationOf gives an element's deviation in single precision.
template <class T, class Deviation>
double orderedSquares(const T* data, int count, Deviation deviationOf) {
    double squares = 0;
    for (int i = 0; i < count; ++i) {
        const float deviation = deviationOf(data[i]);
        squares += static_cast<double>(deviation * deviation);
    }
    return squares;
}

// A value near the mean, from pixels spread over the image.
int likelyCentre(const WORD* pixels, std::size_t count) {
    const std::size_t step = count / kCentreSamples + 1;
    std::int64_t sum = 0;
    std::int64_t samples = 0;
    for (std::size_t i = step / 2; i < count; i += step, ++samples)
        sum += pixels[i];
    return samples > 0 ? static_cast<int>(sum / samples) : 0;
}

bool isNarrowAbout(const NarrowMoments& moments, int shift) {
    return moments.lowest - shift >= -qx::kNarrowDeviation && moments.highest - shift <= qx::kNarrowDeviation;
}

// Sum of the squared deviations from the integer part of the mean, each rounded to single precision. Pixels near each
// other have exact squares, whose centre can be moved afterwards: one pass over the image. Others take two.
double squaresAboutTruncatedMean(const WORD* pixels, int count) {
    const auto size = static_cast<std::size_t>(count);
    const qx::PixelKernels& kernels = qx::pixelKernels();
    const int likely = likelyCentre(pixels, size);
    const NarrowMoments narrow = kernels.narrowMoments(pixels, size, likely);
    const std::int64_t sum =
        narrow.valid ? narrow.sum + static_cast<std::int64_t>(count) * likely : kernels.sum(pixels, size);
    const int centre = qx::truncateToInt(static_cast<float>(static_cast<double>(sum) / count));
    const std::int64_t shift = centre - likely;
    const double squares = narrow.valid && isNarrowAbout(narrow, static_cast<int>(shift))
                               ? static_cast<double>(narrow.squares - 2 * shift * narrow.sum + count * shift * shift)
                               : kernels.squares(pixels, size, centre);
    if (squares < qx::kExactSumLimit)
        return squares;
    return orderedSquares(pixels, count, [centre](WORD value) { return static_cast<float>(value - centre); });
}

}  // namespace

float getStdev(const WORD* image, int width, int height) {
    int count = 0;
    float result = 0;
    if (!countElements(image, width, height, count, result))
        return result;
    // Kept: the spread is measured about the integer part of the mean.
    return rootOfMean(squaresAboutTruncatedMean(image, count), count);
}

float getStdev(const int* image, int width, int height) {
    int count = 0;
    float result = 0;
    if (!countElements(image, width, height, count, result))
        return result;
    // Kept: the spread is measured about the integer part of the mean.
    const int truncatedMean = qx::truncateToInt(meanInSingle(image, count));
    const double squares = orderedSquares(image, count, [truncatedMean](int value) {
        return static_cast<float>(qx::wrappedDifference(value, truncatedMean));
    });
    return rootOfMean(squares, count);
}

float getStdev(const float* image, int width, int height) {
    int count = 0;
    float result = 0;
    if (!countElements(image, width, height, count, result))
        return result;
    const float mean = meanInSingle(image, count);
    return rootOfMean(orderedSquares(image, count, [mean](float value) { return value - mean; }), count);
}

void getStdevAndMean(const int* image, int width, int height, float& mean, float& stdev) {
    int count = 0;
    float result = 0;
    if (!countElements(image, width, height, count, result)) {
        if (std::isnan(result))
            mean = stdev = result;
        return;
    }
    const float measured = meanInSingle(image, count);
    mean = measured;
    stdev = rootOfMean(
        orderedSquares(image, count, [measured](int value) { return static_cast<float>(value) - measured; }), count);
}

template <class T>
double getMean(const T* data, int n) {
    if (data == nullptr)
        return StatusNullArgument;
    const std::size_t count = n > 0 ? static_cast<std::size_t>(n) : 0;
    return static_cast<double>(qx::pixelKernels().sum(data, count)) / n;
}

template QXUTILS_API double getMean<WORD>(const WORD* data, int n);

float GetCovOfTwoImages(const WORD*, int, int) {
    // Kept: no covariance is computed.
    return 1.0f;
}
