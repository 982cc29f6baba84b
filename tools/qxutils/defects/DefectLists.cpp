#include "defects/DefectLists.h"

#include "common/ToolError.h"
#include "files/LibraryFile.h"

#include <QxUtils.h>

#include <cstdint>
#include <utility>

namespace qx::tool {
namespace {

constexpr int kClusterEnd = -1;

// The width is the header's, beyond the range of int in a broken one.
Point pointOf(std::int64_t index, std::int64_t width) {
    return {static_cast<int>(index % width), static_cast<int>(index / width)};
}

void addClassic(const VectorDefect& classic, std::int64_t width, DefectLists& lists) {
    for (const int index : classic.points)
        lists.points.push_back(pointOf(index, width));
    std::vector<Point> cluster;
    for (const int index : classic.clusters) {
        if (index != kClusterEnd)
            cluster.push_back(pointOf(index, width));
        else if (!cluster.empty())
            lists.clusters.push_back(std::exchange(cluster, {}));
    }
    if (!cluster.empty())
        lists.clusters.push_back(cluster);
    lists.rows.insert(lists.rows.end(), classic.rows.begin(), classic.rows.end());
    lists.columns.insert(lists.columns.end(), classic.columns.begin(), classic.columns.end());
}

std::vector<Point> pointsOf(const std::vector<DefectEntry>& entries) {
    std::vector<Point> points;
    for (const DefectEntry& entry : entries)
        points.push_back({entry.x1, entry.y1});
    return points;
}

void addStructured(const DefectInfo& structured, DefectLists& lists) {
    for (const Point& point : pointsOf(structured.points))
        lists.points.push_back(point);
    for (const ClusterGroup& group : structured.clusters)
        lists.clusters.push_back(pointsOf(group.entries));
    for (const LineGroup& group : structured.rows) {
        for (const DefectEntry& entry : group.entries)
            lists.rows.push_back(entry.y1);
    }
    for (const LineGroup& group : structured.columns) {
        for (const DefectEntry& entry : group.entries)
            lists.columns.push_back(entry.x1);
    }
}

void requireDefects(const std::string& path, int status) {
    if (status != StatusOk)
        throw ToolError(path + ": no defects can be read (" + statusText(status) + "); give " + kDefectFileWanted);
}

}  // namespace

std::optional<Shape> DefectLists::imageShape() const {
    const auto isSide = [](int pixels) { return pixels >= 1 && pixels <= kMaxSide; };
    return isSide(shape.width) && isSide(shape.height) ? std::optional(shape) : std::nullopt;
}

DefectLists loadDefectLists(const NamedInput& input) {
    const std::string& path = input.file();
    const LibraryPath file = toLibraryPath(input.name());
    FileHeadInfo info{};
    requireDefects(path, getDefectHeadInfo(file.directory.c_str(), file.name.c_str(), &info));
    if (info.imageWidth == 0)
        throw ToolError(path + ": the header tells no image width; give " + kDefectFileWanted);
    // The file's name decides which of the two is filled.
    VectorDefect classic;
    DefectInfo structured;
    requireDefects(path,
                   getDefectIndexFromDefectFile(file.directory.c_str(), file.name.c_str(), &classic, &structured));
    DefectLists lists{{static_cast<int>(info.imageWidth), static_cast<int>(info.imageHeight)}, {}, {}, {}, {}};
    addClassic(classic, info.imageWidth, lists);
    addStructured(structured, lists);
    return lists;
}

}  // namespace qx::tool
