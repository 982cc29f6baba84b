#include "snr/FactorySnrDemo.h"

#include "common/ToolError.h"
#include "detector/DetectorSetup.h"
#include "detector/PanelFrames.h"
#include "files/FileAccess.h"
#include "files/NativeFile.h"
#include "image/RawImage.h"
#include "text/TextTable.h"

#include <QxSysMgt.h>
#include <QxUtils.h>

#include <cmath>
#include <ostream>

namespace qx::tool {
namespace {

constexpr Shape kPanel{640, 640};
constexpr int kFactorySnrHeader = 17;

// Two doses an exposure time.
struct FactoryImage {
    int integrationTimeMs;
    double level;
};
constexpr FactoryImage kImages[] = {{300, 9000.0}, {300, 18000.0}, {500, 15000.0}, {500, 30000.0}};
constexpr FactoryImage kGraded{500, 27000.0};

RawImage flatOf(const qxkit::VirtualPanel& panel, double level, std::uint32_t frame) {
    return toImage(panel.correctedFlat({.frame = frame, .level = level}));
}

void writeHeaded(const std::string& path, const RawImage& image, int integrationTimeMs) {
    virtualDetector().integrationTimeMs = integrationTimeMs;
    std::string content(kImageHeaderBytes, '\0');
    fillImgHead(content.data(), kFactorySnrHeader, 0);
    writeFile(path, content.append(pixelBytes(image)));
}

void writeImages(const qxkit::VirtualPanel& panel, const std::string& folder) {
    std::uint32_t frame = 0;
    for (const auto& [timeMs, level] : kImages) {
        const std::string place = folder + '/' + std::to_string(timeMs) + "ms";
        createFolder(place);
        writeHeaded(place + "/flat-" + formatNumber(level, 0) + ".raw", flatOf(panel, level, frame), timeMs);
        ++frame;
    }
}

void requireOk(int status, const std::string& what) {
    if (status != StatusOk)
        throw ToolError(what + " (status " + std::to_string(status) + ": " + getStatusMessage(status) + ")");
}

// The record of the same time whose image is as bright.
FactorySNRRecord matchOf(const FactorySnrDemo& demo) {
    const FactorySNRRecord* match = nullptr;
    const auto distance = [&demo](const FactorySNRRecord& record) {
        return std::fabs(record.meanGray - demo.meanGray);
    };
    for (const FactorySNRRecord& record : demo.list.records) {
        if (record.integrationTime == demo.integrationTimeMs &&
            (match == nullptr || distance(record) < distance(*match)))
            match = &record;
    }
    if (match == nullptr)
        throw ToolError(demo.file + ": no series of " + std::to_string(demo.integrationTimeMs) + " ms");
    return *match;
}

}  // namespace

FactorySnrDemo runFactorySnrDemo(std::uint64_t seed, const std::string& folder) {
    const DetectorScope scope;
    setPanelSize(kPanel);
    qxkit::VirtualDetector& detector = virtualDetector();
    detector.description = "Halbrook4343";
    const qxkit::VirtualPanel panel(panelParameters(kPanel, seed));
    writeImages(panel, folder);

    FactorySnrDemo demo;
    const int status =
        withoutInterruption([&] { return retrieveAllSNRForQualityCheck(detector.type, folder.c_str()); });
    requireOk(status, "the factory's SNR could not be stored");
    constexpr const char* kFile = "4343-SNR.raw";
    demo.file = folder + '/' + kFile;
    requireOk(loadAllSNRFromFactory((folder + '/').c_str(), kFile, demo.list, detector.type),
              demo.file + ": cannot be read");

    const RawImage image = flatOf(panel, kGraded.level, static_cast<std::uint32_t>(std::size(kImages)));
    demo.integrationTimeMs = kGraded.integrationTimeMs;
    demo.meanGray = static_cast<float>(getMean(image.pixels.data(), image.pixelCount()));
    demo.measured = measureSnr(image);
    demo.match = matchOf(demo);
    demo.grade = gradeSnr(image, demo.match.snr);
    return demo;
}

void printFactorySnrDemo(std::ostream& out, const FactorySnrDemo& demo) {
    std::vector<std::string> header = {"image", "time, ms", "mean, counts"};
    for (const int side : snrSquareSides(kPanel))
        header.push_back("SNR " + std::to_string(side));
    TextTable table(header);
    const auto add = [&table](const std::string& name, int timeMs, float mean, const SnrSeries& series) {
        std::vector<std::string> row = {name, std::to_string(timeMs), formatNumber(mean, 0)};
        for (const float value : series)
            row.push_back(formatNumber(value, 1));
        table.addRow(row);
    };
    for (const FactorySNRRecord& record : demo.list.records)
        add("factory", record.integrationTime, record.meanGray, record.snr);
    add("field", demo.integrationTimeMs, demo.meanGray, demo.measured);
    out << "\nThe factory's series as " << demo.file << " tells them, and an image from the field:\n";
    table.print(out);
    out << "Graded by the factory image of " << demo.match.integrationTime << " ms and mean "
        << formatNumber(demo.match.meanGray, 0) << ": " << demo.grade << ", " << gradeName(demo.grade) << '\n';
}

}  // namespace qx::tool
