// Grades a flat field against the one that the factory took:
//     judge_flat_field [FACTORY_FILE FILE WIDTH HEIGHT]
// The files hold raw 16-bit pixels. Without arguments two flat fields are made up, the second a little noisier.

#include <QxUtils.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
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

Image loadRawImage(const char* file, int width, int height) {
    Image image{width, height, {}};
    image.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    const int bytes = static_cast<int>(image.pixels.size() * sizeof(WORD));
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
    const int width = fromFiles ? std::atoi(argv[3]) : 0;
    const int height = fromFiles ? std::atoi(argv[4]) : 0;
    if (argc != 1 && (width <= 0 || height <= 0)) {
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
