#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "numerics/PixelKernels.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace {

using qx::CentredMoments;

// The square of a deviation up to this is exact in single precision.
constexpr int kExactSquareLimit = 4096;

constexpr std::size_t kCentreSamples = 256;

// Checks the arguments that the deviations share. False when `result` is the answer already.
bool countElements(const void* image, int width, int height, int& count, float& result) {
    if (image == nullptr) {
        result = StatusNullArgument;
        return false;
    }
    if (qx::pixelCount(width, height, count))
        return true;
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

bool squaresAreExact(const CentredMoments& moments, int centre) {
    return std::abs(moments.minimum - centre) <= kExactSquareLimit &&
           std::abs(moments.maximum - centre) <= kExactSquareLimit;
}

// Squared deviations from a centre, from the moments about another one. Both squares must be exact.
double movedSquares(const CentredMoments& moments, int from, int to, std::int64_t count) {
    const std::int64_t shift = to - from;
    return static_cast<double>(static_cast<std::int64_t>(moments.squares) - 2 * shift * moments.sum +
                               count * shift * shift);
}

double pixelSquares(const WORD* pixels, std::size_t count, int centre) {
    const double squares = qx::pixelKernels().centredMoments(pixels, count, centre).squares;
    if (squares < qx::kExactSumLimit)
        return squares;
    return orderedSquares(pixels, static_cast<int>(count), [centre](WORD v) { return static_cast<float>(v - centre); });
}

}  // namespace

float getStdev(const WORD* image, int width, int height) {
    int count = 0;
    float result = 0;
    if (!countElements(image, width, height, count, result))
        return result;
    const auto pixels = static_cast<std::size_t>(count);
    const int likely = likelyCentre(image, pixels);
    const CentredMoments moments = qx::pixelKernels().centredMoments(image, pixels, likely);
    const double sum = static_cast<double>(moments.sum + static_cast<std::int64_t>(count) * likely);
    // Kept: the spread is measured about the integer part of the mean.
    const int truncatedMean = qx::truncateToInt(static_cast<float>(sum / count));
    if (squaresAreExact(moments, likely) && squaresAreExact(moments, truncatedMean))
        return rootOfMean(movedSquares(moments, likely, truncatedMean, count), count);
    return rootOfMean(pixelSquares(image, pixels, truncatedMean), count);
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
