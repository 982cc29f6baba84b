#include "FuzzInput.h"

#include <QxUtils/Correction.h>

#include <algorithm>
#include <type_traits>

using namespace qx::fuzz;

namespace {

template <class Group>
void requireGroups(const std::vector<Group>& groups, std::uint32_t count) {
    constexpr bool kIsSigned = std::is_same_v<Group, ClusterGroup>;
    require(groups.size() == count, "every group");
    for (const Group& group : groups) {
        const int told = kIsSigned ? std::max(group.header[0], 0) : group.header[0];
        require(group.entries.size() == static_cast<std::uint32_t>(told), "every entry");
    }
}

}  // namespace

// A structured defect file is read as a whole or not at all.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr const char* kName = "NormalStructurizedDefect.cal";
    Input input(data, size);
    const std::string header = defectHeader(input);
    store(kName, header + input.rest());
    DefectInfo lists;
    lists.points.resize(3);
    const int status = getDefectIndexFromDefectFile(fuzzFolder(), kName, nullptr, &lists);
    require(status == 0 || status == 1040, "0 or 1040");
    FileHeadInfo info{};
    if (status == 0)
        require(getDefectHeadInfo(fuzzFolder(), kName, &info) == 0, "header is read");
    require(lists.points.size() == info.pointCount, "every point");
    requireGroups(lists.rows, info.rowCount);
    requireGroups(lists.columns, info.columnCount);
    requireGroups(lists.clusters, info.clusterCount);
    return 0;
}
