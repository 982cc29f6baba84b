#include "correction/defects/StructuredLists.h"

#include "correction/defects/DefectSections.h"

#include <vector>

namespace qx {

VectorDefect listsOf(const DefectInfo& record, int width, int height) {
    const auto addPixel = [&](const DefectEntry& entry, std::vector<int>& list) {
        if (entry.y1 >= 0 && entry.y1 < height && entry.x1 >= 0 && entry.x1 < width)
            list.push_back(entry.y1 * width + entry.x1);
    };
    VectorDefect lists;
    for (const DefectEntry& point : record.points)
        addPixel(point, lists.points);
    for (const ClusterGroup& cluster : record.clusters) {
        std::vector<int> pixels;
        for (const DefectEntry& entry : cluster.entries)
            addPixel(entry, pixels);
        if (!pixels.empty() && !lists.clusters.empty())
            lists.clusters.push_back(kSeparatorInList);
        lists.clusters.insert(lists.clusters.end(), pixels.begin(), pixels.end());
    }
    for (const LineGroup& group : record.rows)
        for (const DefectEntry& entry : group.entries)
            lists.rows.push_back(entry.y1);
    for (const LineGroup& group : record.columns)
        for (const DefectEntry& entry : group.entries)
            lists.columns.push_back(entry.x1);
    return lists;
}

}  // namespace qx
