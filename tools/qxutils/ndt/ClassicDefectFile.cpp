#include "ndt/ClassicDefectFile.h"

#include "files/FileAccess.h"

#include <QxUtils/Files.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <utility>

namespace qx::tool {
namespace {

constexpr int kClusterEnd = -1;

// Where the header tells what the file holds; rows and columns lie in one section.
constexpr std::size_t kWidthOffset = kDetectorFileHeadOffset + offsetof(DetectorFileHead, width);
constexpr std::size_t kHeightOffset = kDetectorFileHeadOffset + offsetof(DetectorFileHead, height);
constexpr std::size_t kPointOffset = kDefectSectionsOffset;
constexpr std::size_t kRowOffset = kPointOffset + 8;
constexpr std::size_t kColumnOffset = kRowOffset + 8;
constexpr std::size_t kClusterOffset = kColumnOffset + 8;

void putBigEndian(std::string& bytes, std::size_t offset, std::int64_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes[offset++] = static_cast<char>(value >> shift & 0xFF);
}

void appendWords(std::string& bytes, std::initializer_list<int> words) {
    for (const int word : words) {
        bytes += static_cast<char>(word & 0xFF);
        bytes += static_cast<char>(word >> 8 & 0xFF);
    }
}

// Count and place of the section that begins here.
void announce(std::string& bytes, std::size_t offset, std::int64_t count) {
    putBigEndian(bytes, offset, count);
    putBigEndian(bytes, offset + 4, std::ssize(bytes));
}

void appendClusters(std::string& bytes, const std::vector<int>& clusters, int width) {
    for (const int pixel : clusters) {
        if (pixel == kClusterEnd)
            appendWords(bytes, {kClusterEnd});
        else
            appendWords(bytes, {pixel % width, pixel / width});
    }
    if (!clusters.empty() && clusters.back() != kClusterEnd)
        appendWords(bytes, {kClusterEnd});
}

int clusterCount(const std::vector<int>& clusters) {
    int count = 0;
    int previous = kClusterEnd;
    for (const int pixel : clusters)
        count += std::exchange(previous, pixel) == kClusterEnd && pixel != kClusterEnd;
    return count;
}

}  // namespace

void writeClassicDefects(const std::string& path, const Shape& shape, const VectorDefect& defects) {
    std::string bytes(kImageHeaderBytes, '\0');
    putBigEndian(bytes, kWidthOffset, shape.width);
    putBigEndian(bytes, kHeightOffset, shape.height);
    announce(bytes, kPointOffset, std::ssize(defects.points));
    for (const int pixel : defects.points)
        appendWords(bytes, {pixel % shape.width, pixel / shape.width});
    announce(bytes, kRowOffset, std::ssize(defects.rows));
    putBigEndian(bytes, kColumnOffset, std::ssize(defects.columns));
    for (const int row : defects.rows)
        appendWords(bytes, {0, row, shape.width - 1, row});
    for (const int column : defects.columns)
        appendWords(bytes, {column, 0, column, shape.height - 1});
    announce(bytes, kClusterOffset, clusterCount(defects.clusters));
    appendClusters(bytes, defects.clusters, shape.width);
    writeFile(path, bytes);
}

}  // namespace qx::tool
