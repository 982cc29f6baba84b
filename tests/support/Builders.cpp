#include "Builders.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>

#ifdef _WIN32
#include <windows.h>
#endif

namespace qx::test {

std::uint64_t SplitMix64::next() {
    state_ += 0x9E3779B97F4A7C15ull;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

int SplitMix64::below(int bound) {
    return static_cast<int>(((next() >> 32) * static_cast<std::uint64_t>(bound)) >> 32);
}

double SplitMix64::uniform() {
    return static_cast<double>(next() >> 11) * 0x1p-53;
}

double SplitMix64::gaussian() {
    double sum = -6;
    for (int i = 0; i < 12; ++i)
        sum += uniform();
    return sum;
}

namespace {

template <class PixelAt>
TestImage makeImage(int width, int height, PixelAt pixelAt) {
    TestImage image{width, height, {}};
    const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    image.pixels.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        image.pixels.push_back(static_cast<WORD>(pixelAt(i)));
    return image;
}

}  // namespace

TestImage constantImage(int width, int height, WORD value) {
    return makeImage(width, height, [=](std::size_t) { return value; });
}

TestImage rampImage(int width, int height, int start) {
    return makeImage(width, height, [=](std::size_t i) { return i + static_cast<std::size_t>(start); });
}

TestImage randomImage(int width, int height, int low, int high, std::uint64_t seed) {
    SplitMix64 random(seed);
    return makeImage(width, height, [&](std::size_t) { return low + random.below(high - low + 1); });
}

TestImage twoValuedImage(int width, int height, WORD first, WORD second, std::uint64_t seed) {
    SplitMix64 random(seed);
    return makeImage(width, height, [&](std::size_t) { return random.below(2) == 0 ? first : second; });
}

TestImage flatImage(int width, int height, double mean, double sigma, std::uint64_t seed) {
    SplitMix64 random(seed);
    return makeImage(width, height,
                     [&](std::size_t) { return std::clamp(mean + sigma * random.gaussian() + 0.5, 0.0, 65535.0); });
}

TestImage saturatedImage(int width, int height, std::uint64_t seed) {
    return flatImage(width, height, 65535.0, 120.0, seed);
}

TemporaryDirectory::TemporaryDirectory() {
    static std::atomic<int> counter{0};
    namespace fs = std::filesystem;
    const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
    SplitMix64 random(static_cast<std::uint64_t>(ticks) * 1000 + static_cast<std::uint64_t>(counter++));
    // create_directory answers false for a name that another process took first.
    fs::path candidate;
    do {
        std::ostringstream name;
        name << "qx-" << std::hex << (random.next() >> 16);
        candidate = fs::temp_directory_path() / name.str();
    } while (!fs::create_directory(candidate));
    path_ = (candidate / "").string();
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeFile(const std::filesystem::path& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

std::string randomBytes(std::size_t count, std::uint64_t seed) {
    SplitMix64 random(seed);
    std::string bytes(count, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random.next() >> 56); });
    return bytes;
}

std::filesystem::path programDirectory() {
#ifdef _WIN32
    char program[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    return std::filesystem::path(program).parent_path();
#else
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
#endif
}

}  // namespace qx::test
