#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "kernels/PixelKernels.h"
#include "numerics/statistics/DeviationOfSquares.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>

namespace {

using qx::ImageView;
using qx::NarrowMoments;
using qx::rootOfMean;
using Pixels = ImageView<const WORD>;

constexpr std::size_t kCentreSamples = 256;

// What stands in for a deviation where there are no elements to take it of.
// Kept: a status is handed back as a number.
template <class T>
std::optional<float> resultWithoutElements(ImageView<const T> image) {
    if (image.data == nullptr)
        return StatusNullArgument;
    if (qx::isImageSize(image.width, image.height))
        return std::nullopt;
    if (image.width < 1 || image.height < 1)
        return std::numeric_limits<float>::quiet_NaN();
    return StatusWrongParameter;
}

float meanOf(double sum, int count) {
    return static_cast<float>(sum / count);
}

template <class T>
float meanInSingle(ImageView<const T> image) {
    double sum = 0;
    for (int i = 0; i < image.pixels(); ++i) {
        const double value = image.data[i];
        sum += value;
    }
    return meanOf(sum, image.pixels());
}

// Sums squares in order; deviationOf gives an element's deviation in single precision.
template <class T, class Deviation>
double orderedSquares(ImageView<const T> image, Deviation deviationOf) {
    double squares = 0;
    for (int i = 0; i < image.pixels(); ++i) {
        const float deviation = deviationOf(image.data[i]);
        const double square = deviation * deviation;
        squares += square;
    }
    return squares;
}

// A value near the mean, from pixels spread over the image.
int likelyCentre(std::span<const WORD> pixels) {
    const std::size_t step = pixels.size() / kCentreSamples + 1;
    int sum = 0;
    int samples = 0;
    for (std::size_t i = step / 2; i < pixels.size(); i += step, ++samples)
        sum += pixels[i];
    return samples > 0 ? sum / samples : 0;
}

bool isNarrowAbout(const NarrowMoments& moments, std::int64_t shift) {
    return moments.lowest - shift >= -qx::kNarrowDeviation && moments.highest - shift <= qx::kNarrowDeviation;
}

// From the integer part of the mean, each squared deviation rounded to single precision. Pixels near each other have
// exact squares, whose centre can be moved afterwards: one pass over the image. Others take two.
float deviationAboutTruncatedMean(Pixels image) {
    const std::span<const WORD> pixels = image.span();
    const std::int64_t count = image.pixels();
    const qx::PixelKernels& kernels = qx::pixelKernels();
    const int likely = likelyCentre(pixels);
    const NarrowMoments narrow = kernels.narrowMoments(pixels.data(), pixels.size(), likely);
    const std::int64_t sum = narrow.valid ? narrow.sum + count * likely : kernels.sum(pixels.data(), pixels.size());
    const int centre = qx::truncateToInt(meanOf(sum, image.pixels()));
    const std::int64_t shift = centre - likely;
    const double squares = narrow.valid && isNarrowAbout(narrow, shift)
                               ? narrow.squares - 2 * shift * narrow.sum + count * shift * shift
                               : kernels.squares(pixels.data(), pixels.size(), centre);
    return qx::deviationOfSquares(squares, count, [=] {
        return orderedSquares(image, [centre](WORD value) -> float { return value - centre; });
    });
}

}  // namespace

float getStdev(const WORD* image, int width, int height) {
    const Pixels view{image, width, height};
    if (const auto instead = resultWithoutElements(view))
        return *instead;
    // Kept: the spread is measured about the integer part of the mean.
    return deviationAboutTruncatedMean(view);
}

float getStdev(const int* image, int width, int height) {
    const ImageView<const int> view{image, width, height};
    if (const auto instead = resultWithoutElements(view))
        return *instead;
    // Kept: the spread is measured about the integer part of the mean.
    const int truncatedMean = qx::truncateToInt(meanInSingle(view));
    const auto deviation = [=](int value) -> float { return qx::wrappedDifference(value, truncatedMean); };
    return rootOfMean(orderedSquares(view, deviation), view.pixels());
}

float getStdev(const float* image, int width, int height) {
    const ImageView<const float> view{image, width, height};
    if (const auto instead = resultWithoutElements(view))
        return *instead;
    const float mean = meanInSingle(view);
    return rootOfMean(orderedSquares(view, [mean](float value) { return value - mean; }), view.pixels());
}

void getStdevAndMean(const int* image, int width, int height, float& mean, float& stdev) {
    const ImageView<const int> view{image, width, height};
    if (const auto instead = resultWithoutElements(view)) {
        if (std::isnan(*instead))
            mean = stdev = *instead;
        return;
    }
    const float measured = meanInSingle(view);
    const auto deviation = [measured](int value) { return static_cast<float>(value) - measured; };
    mean = measured;
    stdev = rootOfMean(orderedSquares(view, deviation), view.pixels());
}

template <class T>
double getMean(const T* data, int n) {
    // Kept: a status is handed back as a number.
    if (data == nullptr)
        return StatusNullArgument;
    const double sum = qx::pixelKernels().sum(data, std::max(n, 0));
    return sum / n;
}

template QXUTILS_API double getMean<WORD>(const WORD* data, int n);

float GetCovOfTwoImages(const WORD*, int, int) {
    // Kept: no covariance is computed.
    return 1.0f;
}
