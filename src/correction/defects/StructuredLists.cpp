#include "correction/defects/StructuredLists.h"

#include <vector>

namespace qx {
namespace {

constexpr int kClusterSeparator = -1;

// Whether a list's next pixel begins a cluster.
bool endsCluster(const std::vector<int>& clusters) {
    return clusters.empty() || clusters.back() == kClusterSeparator;
}

}  // namespace

VectorDefect listsOf(const DefectInfo& record, int width, int height) {
    const auto addPixel = [&](const DefectEntry& entry, std::vector<int>& list) {
        if (entry.y1 >= 0 && entry.y1 < height && entry.x1 >= 0 && entry.x1 < width)
            list.push_back(entry.y1 * width + entry.x1);
    };
    VectorDefect lists;
    for (const DefectEntry& point : record.points)
        addPixel(point, lists.points);
    for (const ClusterGroup& cluster : record.clusters) {
        if (!endsCluster(lists.clusters))
            lists.clusters.push_back(kClusterSeparator);
        for (const DefectEntry& entry : cluster.entries)
            addPixel(entry, lists.clusters);
    }
    // The last groups may have no pixel.
    if (!lists.clusters.empty() && endsCluster(lists.clusters))
        lists.clusters.pop_back();
    for (const LineGroup& group : record.rows)
        for (const DefectEntry& entry : group.entries)
            lists.rows.push_back(entry.y1);
    for (const LineGroup& group : record.columns)
        for (const DefectEntry& entry : group.entries)
            lists.columns.push_back(entry.x1);
    return lists;
}

}  // namespace qx
