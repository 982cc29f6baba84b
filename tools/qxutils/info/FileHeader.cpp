#include "info/FileHeader.h"

#include "common/Shape.h"
#include "image/RawImage.h"
#include "text/TextTable.h"

#include <QxUtils.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <ostream>
#include <vector>

namespace qx::tool {
namespace {

FileHeader parseHeader(const std::vector<char>& bytes) {
    FileHeader header;
    getDetectorFileHeadFromImageHead(&header.file, bytes.data());
    getDetectorInfoHeadFromImageHead(&header.detector, bytes.data());
    return header;
}

}  // namespace

bool FileHeader::fits(std::int64_t fileBytes) const {
    const auto isSide = [](int pixels) { return pixels > 0 && pixels <= kMaxSide; };
    if (!isSide(file.width) || !isSide(file.height))
        return false;
    const std::int64_t pixels = Shape{file.width, file.height}.pixelCount();
    const std::int64_t content = fileBytes - kImageHeaderBytes;
    return content == 2 * pixels || content == 4 * pixels;
}

FileHeader loadFileHeader(const std::string& path) {
    return parseHeader(loadBytes(path, kImageHeaderBytes));
}

FileHeader loadFactorySnrHeader(const std::string& path) {
    const std::vector<char> bytes = loadBytes(path, kImageHeaderBytes);
    FileHeader header = parseHeader(bytes);
    std::memcpy(&header.file.width, bytes.data() + offsetof(DetectorFileHead, width), sizeof header.file.width);
    std::memcpy(&header.file.height, bytes.data() + offsetof(DetectorFileHead, height), sizeof header.file.height);
    return header;
}

void printHeader(std::ostream& out, const FileHeader& header) {
    TextTable table(
        {"header", "width, pixels", "height, pixels", "detector type", "integration time, ms", "temperature, C"});
    table.addRow({"", std::to_string(header.file.width), std::to_string(header.file.height),
                  std::to_string(header.detector.detectorType), formatNumber(header.detector.integrationTime, 1),
                  formatNumber(header.detector.temperature, 1)});
    table.print(out);
}

std::optional<float> integrationTimeOf(const std::vector<char>& header) {
    if (header.empty())
        return std::nullopt;
    const float time = parseHeader(header).detector.integrationTime;
    return std::isfinite(time) && time > 0 ? std::optional(time) : std::nullopt;
}

}  // namespace qx::tool
