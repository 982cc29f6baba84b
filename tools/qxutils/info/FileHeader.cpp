#include "info/FileHeader.h"

#include "common/TextTable.h"
#include "defects/DefectLists.h"
#include "image/RawImage.h"
#include "snr/FactorySnrRecords.h"

#include <QxUtils.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <iostream>
#include <string_view>
#include <vector>

namespace qx::tool {
namespace {

struct Header {
    DetectorFileHead file{};
    DetectorInfoHead detector{};

    // Whether its width and height make up the file's length, with 2 or 4 bytes a pixel.
    bool fits(std::int64_t fileBytes) const {
        const auto pixels = std::int64_t{file.width} * file.height;
        const std::int64_t content = fileBytes - kImageHeaderBytes;
        return file.width > 0 && file.height > 0 && content % pixels == 0 &&
               (content / pixels == 2 || content / pixels == 4);
    }
};

Header loadHeader(const std::string& path, Content content) {
    const std::vector<char> bytes = loadBytes(path, kImageHeaderBytes);
    Header header;
    getDetectorFileHeadFromImageHead(&header.file, bytes.data());
    getDetectorInfoHeadFromImageHead(&header.detector, bytes.data());
    // Factory SNR files keep their size in the processor's order.
    if (content == Content::FactorySnr) {
        std::memcpy(&header.file.width, bytes.data() + offsetof(DetectorFileHead, width), sizeof header.file.width);
        std::memcpy(&header.file.height, bytes.data() + offsetof(DetectorFileHead, height), sizeof header.file.height);
    }
    return header;
}

Content contentOf(const std::string& path) {
    if (isFactorySnrName(path))
        return Content::FactorySnr;
    return std::string_view(path).ends_with(".cal") ? Content::Defects : Content::Image;
}

void printHeader(const Header& header) {
    TextTable table({"header", "width", "height", "detector type", "integration time", "temperature"});
    table.addRow({"", std::to_string(header.file.width), std::to_string(header.file.height),
                  std::to_string(header.detector.detectorType),
                  formatNumber(static_cast<double>(header.detector.integrationTime), 1) + " ms",
                  formatNumber(static_cast<double>(header.detector.temperature), 1) + " C"});
    table.print(std::cout);
}

void printDefectCounts(const DefectLists& lists) {
    TextTable table({"defects", "points", "rows", "columns", "clusters"});
    table.addRow({"", std::to_string(lists.points.size()), std::to_string(lists.rows.size()),
                  std::to_string(lists.columns.size()), std::to_string(lists.clusters.size())});
    table.print(std::cout);
}

}  // namespace

Content printContent(const std::string& path, std::int64_t bytes) {
    if (bytes < kImageHeaderBytes)
        return Content::Image;
    const Content content = contentOf(path);
    const Header header = loadHeader(path, content);
    if (content != Content::Image || header.fits(bytes))
        printHeader(header);
    if (content == Content::Defects)
        printDefectCounts(loadDefectLists(path));
    if (content == Content::FactorySnr)
        printFactorySnr(loadFactorySnrFile(path));
    return content;
}

std::optional<float> headerIntegrationTime(const std::string& path) {
    const float time = loadHeader(path, Content::Image).detector.integrationTime;
    return std::isfinite(time) && time > 0 ? std::optional(time) : std::nullopt;
}

}  // namespace qx::tool
