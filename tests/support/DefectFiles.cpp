#include "DefectFiles.h"

#include "BinaryFields.h"

namespace qx::test {

namespace {

constexpr std::uint32_t kHeaderBytes = 65536;

template <class Group>
std::string groupBytes(const std::vector<Group>& groups) {
    std::string bytes;
    for (const Group& group : groups) {
        append(bytes, group.header);
        for (const DefectEntry& entry : group.entries)
            append(bytes, entry);
    }
    return bytes;
}

std::uint32_t sizeOf(const std::string& bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

}  // namespace

std::string defectHeader(const FileHeadInfo& info) {
    std::string header(kHeaderBytes, '\0');
    putBig(header, 12, info.imageWidth);
    putBig(header, 16, info.imageHeight);
    const std::uint32_t sections[] = {info.pointCount,  info.pointOffset,  info.rowCount,     info.rowOffset,
                                      info.columnCount, info.columnOffset, info.clusterCount, info.clusterOffset};
    for (std::size_t i = 0; i < 8; ++i)
        putBig(header, 40 + 4 * i, sections[i]);
    for (std::size_t i = 0; i < 6; ++i)
        putLittle(header, 8248 + 4 * i, info.words2[i]);
    for (std::size_t i = 0; i < 8; ++i)
        putLittle(header, 8340 + 4 * i, info.words8[i]);
    return header;
}

std::string sectionsOf(const ClassicDefects& defects) {
    std::string bytes;
    for (const auto& point : defects.points)
        bytes += words(point);
    for (const auto& line : defects.lines)
        bytes += words(line);
    return bytes + words(defects.clusterWords);
}

// A third of the lines counts as rows: only the sum matters.
FileHeadInfo headInfoOf(const ClassicDefects& defects) {
    FileHeadInfo info{};
    info.imageWidth = defects.width;
    info.imageHeight = 1000;
    info.pointCount = static_cast<std::uint32_t>(defects.points.size());
    info.pointOffset = kHeaderBytes;
    info.rowCount = static_cast<std::uint32_t>(defects.lines.size() / 3);
    info.rowOffset = info.pointOffset + 4 * info.pointCount;
    info.columnCount = static_cast<std::uint32_t>(defects.lines.size()) - info.rowCount;
    info.clusterOffset = info.rowOffset + 8 * (info.rowCount + info.columnCount);
    return info;
}

std::string classicFile(const ClassicDefects& defects) {
    return defectHeader(headInfoOf(defects)) + sectionsOf(defects);
}

std::string sectionsOf(const DefectInfo& defects) {
    std::string bytes;
    for (const DefectEntry& point : defects.points)
        append(bytes, point);
    return bytes + groupBytes(defects.rows) + groupBytes(defects.columns) + groupBytes(defects.clusters);
}

FileHeadInfo headInfoOf(const DefectInfo& defects) {
    FileHeadInfo info{};
    info.imageWidth = 1000;
    info.imageHeight = 1000;
    info.pointCount = static_cast<std::uint32_t>(defects.points.size());
    info.pointOffset = kHeaderBytes;
    info.rowCount = static_cast<std::uint32_t>(defects.rows.size());
    info.rowOffset = info.pointOffset + 16 * info.pointCount;
    info.columnCount = static_cast<std::uint32_t>(defects.columns.size());
    info.columnOffset = info.rowOffset + sizeOf(groupBytes(defects.rows));
    info.clusterCount = static_cast<std::uint32_t>(defects.clusters.size());
    info.clusterOffset = info.columnOffset + sizeOf(groupBytes(defects.columns));
    return info;
}

std::string structuredFile(const DefectInfo& defects) {
    return defectHeader(headInfoOf(defects)) + sectionsOf(defects);
}

}  // namespace qx::test
