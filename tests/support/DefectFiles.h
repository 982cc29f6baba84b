#pragma once

#include <QxUtils/Records.h>

#include <array>
#include <string>
#include <vector>

// Defect files of either kind, their sections back to back behind the header: points, lines (rows, columns), clusters.
namespace qx::test {

// The 65536 bytes of a header.
std::string defectHeader(const FileHeadInfo& info);

// What a classic file stores: rows and columns are the same kind of entry there.
struct ClassicDefects {
    std::uint32_t width = 0;
    std::vector<std::array<int, 2>> points;  // x, y
    std::vector<std::array<int, 4>> lines;   // x1, y1, x2, y2
    std::vector<int> clusterWords;
};

FileHeadInfo headInfoOf(const ClassicDefects& defects);
std::string classicFile(const ClassicDefects& defects);

FileHeadInfo headInfoOf(const DefectInfo& defects);
std::string structuredFile(const DefectInfo& defects);
// The same sections behind a header that may lie about them.
std::string sectionsOf(const ClassicDefects& defects);
std::string sectionsOf(const DefectInfo& defects);

}  // namespace qx::test
