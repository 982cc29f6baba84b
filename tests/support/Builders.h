#pragma once

#include <QxUtils/Types.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// Inputs of tests and benchmarks: small images with known contents, and files in a directory of their own.
namespace qx::test {

// A generator with the same sequence on every platform.
class SplitMix64 {
public:
    explicit SplitMix64(std::uint64_t seed) : state_(seed) {}
    std::uint64_t next();
    // Uniform in 0 .. bound-1; bound is small against 2^32.
    int below(int bound);
    // Uniform in [0, 1).
    double uniform();
    // Zero mean, unit deviation: a sum of twelve uniform numbers, within +-6.
    double gaussian();

private:
    std::uint64_t state_;
};

template <class Pixel>
struct ImageOf {
    int width;
    int height;
    std::vector<Pixel> pixels;

    const Pixel* data() const { return pixels.data(); }
    Pixel& at(int row, int col) { return pixels[static_cast<std::size_t>(row) * width + col]; }
    // Gives a region, which lies inside, one value.
    void fill(int row, int col, int rows, int cols, Pixel value) {
        for (int r = row; r < row + rows; ++r)
            std::fill_n(&at(r, col), cols, value);
    }
};
using TestImage = ImageOf<WORD>;

TestImage constantImage(int width, int height, WORD value);
// Value start + row * width + col, modulo 2^16.
TestImage rampImage(int width, int height, int start);
// Every value from low to high equally often.
TestImage randomImage(int width, int height, int low, int high, std::uint64_t seed);
// One of two values for each pixel.
TestImage twoValuedImage(int width, int height, WORD first, WORD second, std::uint64_t seed);
// A flat field of bell-shaped noise.
TestImage flatImage(int width, int height, double mean, double sigma, std::uint64_t seed);
// A flat field around the white level: about half of the pixels are 65535.
TestImage saturatedImage(int width, int height, std::uint64_t seed);

// An empty directory that goes away with the object, with everything in it.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    // Ends with the platform's separator.
    const std::string& path() const { return path_; }
    // The full path of an entry.
    std::string operator/(const std::string& name) const { return path_ + name; }

private:
    std::string path_;
};

// The whole content of a file; empty when it cannot be read.
std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& content);
// Lines without their ends, '\r' removed.
std::vector<std::string> splitLines(const std::string& text);
// count bytes that look random.
std::string randomBytes(std::size_t count, std::uint64_t seed);

// Where the running program lies.
std::filesystem::path programDirectory();

}  // namespace qx::test
