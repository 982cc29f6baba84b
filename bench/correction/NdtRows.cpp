// The arithmetic of the NDT mode, without its files.

#include "Rows.h"
#include "harness/OwnImage.h"
#include "harness/StreamRead.h"
#include "peers/Peers.h"

#include "reference/correction/PlainNdt.h"

#include "correction/ndt/NdtArithmetic.h"

#include <cstring>

namespace {

using namespace qx::bench;

using Longs = std::vector<std::uint32_t>;
using Words = std::vector<std::uint16_t>;
using Floats = std::vector<float>;

struct NdtImage {
    Longs pixels;
};

struct GainMap {
    Words pixels;
};

// Sums of eight frames of a panel whose pixels respond differently, and what corrects them.
struct NdtFrames {
    explicit NdtFrames(int side) : count(static_cast<std::size_t>(side) * static_cast<std::size_t>(side)) {
        qx::test::SplitMix64 random(11);
        for (std::size_t i = 0; i < count; ++i) {
            const double response = 0.95 + 0.1 * random.uniform();
            dark.push_back(static_cast<std::uint32_t>(4500 + 600 * random.uniform()));
            bright.push_back(dark[i] + static_cast<std::uint32_t>(416000 * response));
            object.push_back(dark[i] + static_cast<std::uint32_t>(416000 * response * random.uniform()));
            gains.push_back(static_cast<std::uint16_t>(10000 * response));
            fixedGains.push_back(static_cast<float>(1 / response));
        }
    }
    int pixelCount() const { return static_cast<int>(count); }

    std::size_t count;
    Longs dark, bright, object;
    Words gains;
    Floats fixedGains;
};

template <class Value>
std::size_t byteCount(const std::vector<Value>& values) {
    return values.size() * sizeof(Value);
}

// What NumPy changes in its array: all 32-bit pixels of the image, or all 16-bit gains. The array has five rows of
// 16-bit words: two are the image, two the dark image, one the gains.
struct PackedWords {
    std::shared_ptr<const Image> words;
    std::size_t first;
    std::size_t count;
    bool areLongs;
};

template <class Value>
std::vector<double> valuesAt(const PackedWords& packed) {
    std::vector<Value> values(packed.count);
    std::memcpy(values.data(), packed.words->pixels.data() + packed.first, byteCount(values));
    return {values.begin(), values.end()};
}

std::vector<double> toNumbers(const PackedWords& packed) {
    return packed.areLongs ? valuesAt<std::uint32_t>(packed) : valuesAt<std::uint16_t>(packed);
}

enum class Changed { Image, Gains };

Method numpyInPlace(const char* source, const Longs& image, const Longs& dark, const Words& gains, Changed changed) {
    const std::size_t count = image.size();
    const auto words = std::make_shared<Image>();
    words->width = static_cast<int>(count);
    words->height = 5;
    words->pixels.resize(5 * count);
    std::memcpy(words->pixels.data(), image.data(), byteCount(image));
    std::memcpy(words->pixels.data() + 2 * count, dark.data(), byteCount(dark));
    std::memcpy(words->pixels.data() + 4 * count, gains.data(), byteCount(gains));
    const Method measure = numpy(source, words);
    if (!measure)
        return {};
    const PackedWords result =
        changed == Changed::Image ? PackedWords{words, 0, count, true} : PackedWords{words, 4 * count, count, false};
    return [measure, result] {
        measure.run();
        return result;
    };
}

constexpr char kNumpyCorrection[] = R"(
def measure(words):
    count = words.shape[1]
    words = words.reshape(-1)
    image, dark = words[:2 * count].view(np.uint32), words[2 * count:4 * count].view(np.uint32)
    gain = words[4 * count:]
    difference = np.maximum(image.astype(np.float32) - dark.astype(np.float32), np.float32(0))
    with np.errstate(divide='ignore', invalid='ignore'):
        image[:] = np.where(gain != 0, difference / gain * np.float32(10000), difference).astype(np.uint32)
    return 0.0
)";

constexpr char kNumpyCalibration[] = R"(
def measure(words):
    count = words.shape[1]
    words = words.reshape(-1)
    bright, dark = words[:2 * count].view(np.uint32), words[2 * count:4 * count].view(np.uint32)
    difference = np.maximum(bright.astype(np.float32) - dark.astype(np.float32), np.float32(0))
    scale = np.float32(difference.sum(dtype=np.float64) / count / 10000)
    words[4 * count:] = (difference / scale).astype(np.uint16)
    return 0.0
)";

Method correction(const std::shared_ptr<const NdtFrames>& frames, const qx::NdtGain& gain) {
    return onOwnImage(NdtImage{frames->object}, [frames, gain](NdtImage& image) {
        qx::correctOffsetAndGain({image.pixels, frames->dark, gain});
    });
}

template <class Gain>
Method correctionLimit(const std::shared_ptr<const NdtFrames>& frames, const std::vector<Gain>& gains) {
    return onOwnImage(NdtImage{frames->object}, [frames, &gains](NdtImage& image) {
        streamRead(frames->dark.data(), byteCount(frames->dark));
        streamRead(gains.data(), byteCount(gains));
        streamUpdate(image.pixels.data(), byteCount(image.pixels));
    });
}

Row ndtGainRow(int side) {
    const auto frames = std::make_shared<const NdtFrames>(side);
    return {.ours = correction(frames, frames->gains),
            .plain = onOwnImage(NdtImage{frames->object},
                                [frames](NdtImage& image) {
                                    Floats results(frames->count);
                                    qx::plain::correctByNdtGain(results.data(), image.pixels.data(),
                                                                frames->dark.data(), frames->gains.data(),
                                                                frames->pixelCount());
                                    qx::plain::writeBack(image.pixels.data(), results.data(), frames->pixelCount());
                                }),
            .peerName = "NumPy",
            .peer = numpyInPlace(kNumpyCorrection, frames->object, frames->dark, frames->gains, Changed::Image),
            .limitName = "two reads, one update",
            .limit = correctionLimit(frames, frames->gains)};
}

Row fixedGainRow(int side) {
    const auto frames = std::make_shared<const NdtFrames>(side);
    return {.ours = correction(frames, frames->fixedGains),
            .plain = onOwnImage(NdtImage{frames->object},
                                [frames](NdtImage& image) {
                                    Floats results(frames->count);
                                    qx::plain::correctByFixedGain(results.data(), image.pixels.data(),
                                                                  frames->dark.data(), frames->fixedGains.data(),
                                                                  frames->pixelCount());
                                    qx::plain::writeBack(image.pixels.data(), results.data(), frames->pixelCount());
                                }),
            .limitName = "two reads, one update",
            .limit = correctionLimit(frames, frames->fixedGains)};
}

Row calibrationRow(int side) {
    const auto frames = std::make_shared<const NdtFrames>(side);
    const GainMap none{Words(frames->count)};
    return {.ours = onOwnImage(none,
                               [frames](GainMap& gains) { qx::ndtGains(frames->bright, frames->dark, gains.pixels); }),
            .plain = onOwnImage(none,
                                [frames](GainMap& gains) {
                                    const float scale = qx::plain::ndtGainScale(
                                        frames->bright.data(), frames->dark.data(), frames->pixelCount());
                                    qx::plain::ndtGains(gains.pixels.data(), frames->bright.data(), frames->dark.data(),
                                                        frames->pixelCount(), scale);
                                }),
            .peerName = "NumPy",
            .peer = numpyInPlace(kNumpyCalibration, frames->bright, frames->dark, none.pixels, Changed::Gains),
            .limitName = "two reads of both images, one update of the gains",
            .limit = onOwnImage(none, [frames](GainMap& gains) {
                for (int pass = 0; pass < 2; ++pass) {
                    streamRead(frames->bright.data(), byteCount(frames->bright));
                    streamRead(frames->dark.data(), byteCount(frames->dark));
                }
                streamUpdate(gains.pixels.data(), byteCount(gains.pixels));
            })};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::ndtRows() {
    return {
        {"executeNDTCAL arithmetic, 3072 x 3072",
         [](const Scale& scale) { return calibrationRow(scale.pick(3072, 70)); }},
        {"offset and gain of correctNDTImage, NDT gain, 3072 x 3072",
         [](const Scale& scale) { return ndtGainRow(scale.pick(3072, 70)); }},
        {"offset and gain of correctNDTImage, fixed gain, 3072 x 3072",
         [](const Scale& scale) { return fixedGainRow(scale.pick(3072, 70)); }},
    };
}
