#include "qxutils_c.h"

#include "Guard.h"
#include "Handles.h"
#include "QxUtils/Correction.h"
#include "QxUtils/Records.h"
#include "QxUtils/StatusCode.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

namespace {

using qx::c::handOut;

// The lists of either kind of defect file.
struct Defects {
    VectorDefect classic;
    DefectInfo structured;
};
using DefectTable = qx::c::HandleTable<Defects>;

// Never destroyed: a host's last threads may still ask.
DefectTable& defectTable() {
    static auto* const table = new DefectTable;
    return *table;
}

std::vector<int>* listOf(VectorDefect& defects, int list) noexcept {
    switch (list) {
    case QX_DEFECT_POINTS:
        return &defects.points;
    case QX_DEFECT_CLUSTERS:
        return &defects.clusters;
    case QX_DEFECT_ROWS:
        return &defects.rows;
    case QX_DEFECT_COLUMNS:
        return &defects.columns;
    default:
        return nullptr;
    }
}

// A group of a structured list.
struct Group {
    std::span<const std::int32_t> header;
    std::span<const DefectEntry> entries;
};

// Calls work(group) for each group of a list. Returns whether there is such a list.
template <class Work>
bool forGroups(const DefectInfo& defects, int list, Work work) {
    const auto groupsOf = [&](const auto& groups) {
        for (const auto& group : groups)
            work(Group{group.header, group.entries});
    };
    switch (list) {
    case QX_DEFECT_POINTS:
        work(Group{{}, defects.points});
        return true;
    case QX_DEFECT_CLUSTERS:
        groupsOf(defects.clusters);
        return true;
    case QX_DEFECT_ROWS:
        groupsOf(defects.rows);
        return true;
    case QX_DEFECT_COLUMNS:
        groupsOf(defects.columns);
        return true;
    default:
        return false;
    }
}

constexpr std::size_t kHeaderWords = 5;

int handOutGroup(const Group& group, int32_t* header, qx_defect_entry* entries, int capacity, int* count) {
    static_assert(sizeof(qx_defect_entry) == sizeof(DefectEntry));
    const int status = handOut<DefectEntry>(group.entries, reinterpret_cast<DefectEntry*>(entries), capacity, count);
    if (status != StatusOk || header == nullptr)
        return status;
    std::fill_n(header, kHeaderWords, 0);
    std::copy(group.header.begin(), group.header.end(), header);
    return StatusOk;
}

}  // namespace

int qx_getDefectHeadInfo(const char* dir, const char* name, qx_file_head_info* info) {
    static_assert(sizeof(qx_file_head_info) == sizeof(FileHeadInfo));
    static_assert(offsetof(qx_file_head_info, clusterOffset) == offsetof(FileHeadInfo, clusterOffset));
    return getDefectHeadInfo(dir, name, reinterpret_cast<FileHeadInfo*>(info));
}

int qx_defects_create(qx_defects* defects) {
    return defectTable().create(defects);
}

int qx_defects_release(qx_defects defects) {
    return defectTable().release(defects);
}

int qx_getDefectIndexFromDefectFile(const char* dir, const char* name, qx_defects defects) {
    return defectTable().with(defects, [&](Defects& lists) {
        return getDefectIndexFromDefectFile(dir, name, &lists.classic, &lists.structured);
    });
}

int qx_defects_set_pixels(qx_defects defects, int list, const int32_t* pixels, int count) {
    return defectTable().with(defects, [&](Defects& lists) -> int {
        std::vector<int>* const values = listOf(lists.classic, list);
        if (values == nullptr || count < 0)
            return StatusWrongParameter;
        if (pixels == nullptr && count > 0)
            return StatusNullArgument;
        values->assign(pixels, pixels + count);
        return StatusOk;
    });
}

int qx_defects_pixels(qx_defects defects, int list, int32_t* pixels, int capacity, int* count) {
    return defectTable().with(defects, [&](Defects& lists) -> int {
        const std::vector<int>* const values = listOf(lists.classic, list);
        return values != nullptr ? handOut<int>(*values, pixels, capacity, count) : int{StatusWrongParameter};
    });
}

int qx_defects_group_count(qx_defects defects, int list, int* count) {
    return defectTable().with(defects, [&](const Defects& lists) -> int {
        if (count == nullptr)
            return StatusNullArgument;
        int groups = 0;
        if (!forGroups(lists.structured, list, [&](const Group&) { ++groups; }))
            return StatusWrongParameter;
        *count = groups;
        return StatusOk;
    });
}

int qx_defects_group(qx_defects defects, int list, int group, int32_t* header, qx_defect_entry* entries, int capacity,
                     int* count) {
    return defectTable().with(defects, [&](const Defects& lists) {
        int status = StatusWrongParameter;
        int index = 0;
        forGroups(lists.structured, list, [&](const Group& found) {
            if (index == group)
                status = handOutGroup(found, header, entries, capacity, count);
            ++index;
        });
        return status;
    });
}

int qx_getRealCoordinate(qx_defects source, qx_defects destination, int sourceWidth, int unused1, int unused2,
                         int unused3, int destinationWidth) {
    return defectTable().with(source, [&](Defects& from) {
        return defectTable().with(destination, [&](const Defects& to) -> int {
            if (!from.classic.rows.empty() || !from.classic.columns.empty())
                return StatusWrongParameter;
            getRealCoordinate(&from.classic, to.classic, sourceWidth, unused1, unused2, unused3, destinationWidth);
            return StatusOk;
        });
    });
}
