#include "correction/defects/DefectSections.h"

#include "QxUtils/Files.h"
#include "QxUtils/StatusCode.h"
#include "files/ByteCursor.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace qx {
namespace {

constexpr std::uint64_t kPointBytes = 4;
constexpr std::uint64_t kLineBytes = 8;
constexpr std::int16_t kSeparator = -1;

// A stretch of the file; empty ones lie anywhere.
struct Section {
    std::uint64_t first;
    std::uint64_t bytes;

    std::uint64_t end() const { return first + bytes; }
};

// Whether the sections lie behind the header, inside the file and beside each other.
template <std::size_t count>
bool areApart(std::array<Section, count> sections, std::uint64_t fileBytes) {
    std::ranges::sort(sections, {}, &Section::first);
    std::uint64_t end = kImageHeaderBytes;
    for (const Section& section : sections) {
        if (section.bytes == 0)
            continue;
        if (section.first < end || section.end() > fileBytes)
            return false;
        end = section.end();
    }
    return true;
}

// The length in bytes of the run of clusters, which the header does not tell: what the other sections leave of the
// file up to its last separator.
std::uint64_t clusterBytes(std::span<const char> file, std::uint64_t otherBytes) {
    const std::int64_t size = std::ssize(file);
    std::int64_t k = size / 2 - 1;
    while (k >= 0 && (file[2 * k] != '\xFF' || file[2 * k + 1] != '\xFF'))
        --k;
    constexpr std::int64_t kFirstWord = kImageHeaderBytes / 2;
    const std::int64_t end = 2 * k + 2;
    if (k < 0 || (end != size && k < kFirstWord))
        return 0;
    const std::uint64_t bytesBefore = kImageHeaderBytes + otherBytes;
    const std::uint64_t bytes = end;
    return bytes > bytesBefore ? bytes - bytesBefore : 0;
}

// Pixel indices of a classic file.
class PixelIndices {
public:
    explicit PixelIndices(std::uint32_t width) : width_(width) {}

    int of(std::int16_t x, std::int16_t y) {
        const std::int64_t index = std::int64_t{y} * width_ + x;
        lowest_ = std::min(lowest_, index);
        highest_ = std::max(highest_, index);
        return static_cast<int>(index);
    }
    bool fit() const {
        return lowest_ >= std::numeric_limits<int>::min() && highest_ <= std::numeric_limits<int>::max();
    }

private:
    std::int64_t width_;
    std::int64_t lowest_ = 0;
    std::int64_t highest_ = 0;
};

void readPoints(ByteCursor& cursor, std::uint32_t count, PixelIndices& indices, std::vector<int>& points) {
    const std::span<const char> pairs = cursor.take(count, kPointBytes);
    points.resize(pairs.size() / kPointBytes);
    PixelIndices known = indices;
    for (std::size_t i = 0; i < points.size(); ++i) {
        std::array<std::int16_t, 2> point;
        std::memcpy(point.data(), pairs.data() + i * kPointBytes, sizeof point);
        points[i] = known.of(point[0], point[1]);
    }
    indices = known;
}

void readLines(ByteCursor& cursor, std::uint64_t count, VectorDefect& lists) {
    for (std::uint64_t i = 0; i < count && !cursor.failed(); ++i) {
        std::array<std::int16_t, 4> line{};
        cursor.read(std::span(line));
        const auto [x1, y1, x2, y2] = line;
        // Kept: a line of one pixel is a column, for x is looked at first.
        if (x1 == x2)
            lists.columns.push_back(x1);
        else if (y1 == y2)
            lists.rows.push_back(y1);
    }
}

// The run of clusters, and whether its length was cut to what is left of the file.
struct ClusterRun {
    Section section;
    bool isCut;
};

// Kept: the derived length may run past the file's end, which then ends the run.
ClusterRun clusterRun(std::span<const char> file, std::uint64_t offset, std::uint64_t otherBytes) {
    const std::uint64_t bytes = clusterBytes(file, otherBytes);
    const std::uint64_t left = file.size() - std::min<std::uint64_t>(offset, file.size());
    const bool isCut = offset <= file.size() && bytes > left;
    return {{offset, isCut ? left : bytes}, isCut};
}

// False when the file's end cuts an index. One that the derived length cuts does not count.
bool readClusters(ByteCursor& cursor, const ClusterRun& run, PixelIndices& indices, std::vector<int>& clusters) {
    std::uint64_t left = run.section.bytes / sizeof(std::int16_t);
    bool isFirstOfCluster = false;
    while (left > 0) {
        const auto word = cursor.read<std::int16_t>();
        --left;
        // Kept: behind a separator even another one is taken as an x.
        if (word == kSeparator && !isFirstOfCluster) {
            clusters.push_back(kSeparatorInList);
            isFirstOfCluster = true;
            continue;
        }
        if (left == 0)
            return !run.isCut;
        clusters.push_back(indices.of(word, cursor.read<std::int16_t>()));
        --left;
        isFirstOfCluster = false;
    }
    return !run.isCut || run.section.bytes % sizeof(std::int16_t) == 0;
}

// The number of entries of a group. Of clusters it is signed: fewer than none are none.
std::uint32_t entryCount(const LineGroup& group) {
    return static_cast<std::uint32_t>(group.header[0]);
}

std::uint32_t entryCount(const ClusterGroup& group) {
    return static_cast<std::uint32_t>(std::max(group.header[0], 0));
}

// Groups that lie back to back. Their first number counts their entries.
template <class Group>
void readGroups(ByteCursor& cursor, std::uint32_t count, std::vector<Group>& groups) {
    if (!cursor.holds(count, sizeof(Group::header)))
        return;
    for (std::uint32_t i = 0; i < count; ++i) {
        Group group{};
        cursor.read(std::span(group.header));
        const std::uint32_t entries = entryCount(group);
        if (!cursor.holds(entries, sizeof(DefectEntry)))
            return;
        group.entries.resize(entries);
        cursor.read(std::span(group.entries));
        groups.push_back(std::move(group));
    }
}

// The groups of a section, and the stretch they take.
template <class Group>
Section readGroupSection(ByteCursor& cursor, std::uint32_t offset, std::uint32_t count, std::vector<Group>& groups) {
    if (count == 0)
        return {offset, 0};
    cursor.moveTo(offset);
    readGroups(cursor, count, groups);
    return {offset, cursor.position() - offset};
}

}  // namespace

int DefectSections::readClassic(VectorDefect& lists) const {
    const std::uint64_t lineCount = std::uint64_t{info_.rowCount} + info_.columnCount;
    const Section points{info_.pointOffset, info_.pointCount * kPointBytes};
    const Section lines{info_.rowOffset, lineCount * kLineBytes};
    const ClusterRun clusters = clusterRun(file_, info_.clusterOffset, points.bytes + lines.bytes);
    if (!areApart(std::array{points, lines, clusters.section}, file_.size()))
        return StatusFileReadFailed;
    VectorDefect found;
    PixelIndices indices(info_.imageWidth);
    ByteCursor cursor(file_);
    if (points.bytes > 0) {
        cursor.moveTo(points.first);
        readPoints(cursor, info_.pointCount, indices, found.points);
    }
    if (lines.bytes > 0) {
        cursor.moveTo(lines.first);
        readLines(cursor, lineCount, found);
    }
    if (clusters.section.bytes > 0) {
        cursor.moveTo(clusters.section.first);
        if (!readClusters(cursor, clusters, indices, found.clusters))
            return StatusFileReadFailed;
    }
    if (cursor.failed() || !indices.fit())
        return StatusFileReadFailed;
    lists = std::move(found);
    return StatusOk;
}

int DefectSections::readStructured(DefectInfo& lists) const {
    DefectInfo found;
    ByteCursor cursor(file_);
    const Section points{info_.pointOffset, std::uint64_t{info_.pointCount} * sizeof(DefectEntry)};
    if (points.bytes > 0) {
        cursor.moveTo(points.first);
        if (cursor.holds(info_.pointCount, sizeof(DefectEntry)))
            found.points.resize(info_.pointCount);
        cursor.read(std::span(found.points));
    }
    const std::array sections = {points, readGroupSection(cursor, info_.rowOffset, info_.rowCount, found.rows),
                                 readGroupSection(cursor, info_.columnOffset, info_.columnCount, found.columns),
                                 readGroupSection(cursor, info_.clusterOffset, info_.clusterCount, found.clusters)};
    if (cursor.failed() || !areApart(sections, file_.size()))
        return StatusFileReadFailed;
    lists = std::move(found);
    return StatusOk;
}

}  // namespace qx
