#pragma once

#include "QxUtils/Records.h"

#include <span>

namespace qx {

// Stands between the clusters of a list.
inline constexpr int kSeparatorInList = -1;

// The sections of a defect file behind its header. Both readers append to the lists in the order of the file, and only
// when every section proves right: they return 0, or 1040 when a section leaves the file, overlaps another one or the
// header, or counts what cannot be. They throw std::bad_alloc when memory is short.
class DefectSections {
public:
    DefectSections(std::span<const char> file, const FileHeadInfo& info) noexcept : file_(file), info_(info) {}

    int readClassic(VectorDefect& lists) const;
    int readStructured(DefectInfo& lists) const;

private:
    std::span<const char> file_;
    const FileHeadInfo& info_;
};

}  // namespace qx
