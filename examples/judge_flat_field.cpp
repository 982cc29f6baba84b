// Grades a flat field against the one that the factory took:
//     judge_flat_field [FACTORY_FILE FILE WIDTH HEIGHT]
// The files hold raw 16-bit pixels. Without arguments two flat fields are made up, the second a little noisier.
//
// The kit decides where the library's daily log goes. The virtual detector that stands in for it has the current
// directory as its work folder, so running this program leaves a folder logs there.

#include <QxUtils.h>

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

namespace {

struct Image {
    int width = 1024;
    int height = 1024;
    std::vector<WORD> pixels;
};

constexpr int kNoVerdict = 2;

Image makeFlatField(double meanCounts, double noiseCounts, unsigned seed) {
    Image image;
    std::mt19937 generator(seed);
    std::normal_distribution<double> noise(meanCounts, noiseCounts);
    image.pixels.resize(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height));
    for (WORD& pixel : image.pixels)
        pixel = static_cast<WORD>(std::lround(noise(generator)));
    return image;
}

// 0 when the text is not a number of pixels.
int sideOf(const char* text) {
    int side = 0;
    const char* end = text + std::strlen(text);
    const auto [last, error] = std::from_chars(text, end, side);
    return last == end && error == std::errc() && side > 0 ? side : 0;
}

Image loadRawImage(const char* file, int width, int height) {
    const std::int64_t pixels = static_cast<std::int64_t>(width) * height;
    constexpr std::int64_t kMaxPixels = INT_MAX / static_cast<int>(sizeof(WORD));
    if (pixels > kMaxPixels) {
        std::fprintf(stderr, "%d x %d pixels are more than the library reads\n", width, height);
        std::exit(kNoVerdict);
    }
    Image image{width, height, {}};
    image.pixels.resize(static_cast<std::size_t>(pixels));
    const int bytes = static_cast<int>(pixels) * static_cast<int>(sizeof(WORD));
    const int status = readImageFromDisk("", file, reinterpret_cast<char*>(image.pixels.data()), bytes);
    if (status != StatusOk) {
        std::fprintf(stderr, "%s: %s\n", file, getStatusMessage(status));
        std::exit(kNoVerdict);
    }
    return image;
}

std::vector<float> measureSnr(const Image& image) {
    constexpr std::size_t kMoreThanAnyPanelNeeds = 32;
    std::vector<float> snr(kMoreThanAnyPanelNeeds, 0.0F);
    const int status = calcGlobalSNR(image.pixels.data(), image.width, image.height, snr);
    if (status != StatusOk) {
        std::fprintf(stderr, "SNR: %s\n", getStatusMessage(status));
        std::exit(kNoVerdict);
    }
    return snr;
}

}  // namespace

int main(int argc, char** argv) {
    const bool fromFiles = argc == 5;
    const int width = fromFiles ? sideOf(argv[3]) : 0;
    const int height = fromFiles ? sideOf(argv[4]) : 0;
    if (argc != 1 && (width == 0 || height == 0)) {
        std::fprintf(stderr, "usage: judge_flat_field [FACTORY_FILE FILE WIDTH HEIGHT]\n");
        return kNoVerdict;
    }
    const Image factory = fromFiles ? loadRawImage(argv[1], width, height) : makeFlatField(52000.0, 190.0, 1);
    const Image today = fromFiles ? loadRawImage(argv[2], width, height) : makeFlatField(52000.0, 200.0, 2);

    const std::vector<float> factorySnr = measureSnr(factory);
    const std::vector<float> snr = measureSnr(today);
    for (std::size_t k = 0; k < snr.size() && snr[k] > 0.0F; ++k)
        std::printf("square %zu: SNR %.1f, factory %.1f\n", k, static_cast<double>(snr[k]),
                    static_cast<double>(factorySnr[k]));

    SurfaceFitResult result{};
    evaluateSNRResult(today.pixels.data(), today.width, today.height, factorySnr, result);
    std::printf("%d: %s\n", result.evaluation, getStatusMessage(result.evaluation));
    return result.evaluation == StatusCalibrationPoor ? 1 : 0;
}
