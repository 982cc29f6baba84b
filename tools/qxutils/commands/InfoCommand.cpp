#include "commands/Subcommand.h"
#include "common/FileAccess.h"
#include "common/TextTable.h"
#include "defects/DefectTables.h"
#include "image/RawImage.h"
#include "info/FileHeader.h"
#include "info/Geometry.h"
#include "snr/FactorySnrRecords.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

struct InfoOptions {
    std::vector<std::string> files;
    std::optional<std::string> shape;
};

void printStatistics(const std::string& file, const Shape& shape) {
    const RawImage image = loadRawImage(file, shape);
    const WORD* const pixels = image.pixels.data();
    const int count = image.pixelCount();
    std::cout << "  statistics for " << toText(shape) << ", "
              << (hasImageHeader(file, shape) ? "behind a header" : "no header") << '\n';
    std::cout << "    min " << pixels[getMinIndex(pixels, count)] << ", max "
              << *std::max_element(image.pixels.begin(), image.pixels.end()) << ", mean "
              << formatNumber(getMean(pixels, count), 2) << ", stdev "
              << formatNumber(getStdev(pixels, shape.width, shape.height), 2) << ", median " << getMedian(pixels, count)
              << '\n';
}

void printGeometries(const std::vector<JudgedGeometry>& geometries) {
    if (geometries.empty()) {
        std::cout << "  no plausible panel shape fits this size\n";
        return;
    }
    TextTable table({"fits, pixels", "header", "panel", "guess", "row step, counts", "other width, counts"});
    for (const auto& [geometry, confidence, rowDifference, otherDifference] : geometries) {
        table.addRow({toText(geometry.shape), geometry.hasHeader ? "yes" : "no",
                      geometry.isCommonPanel ? "common" : "unknown", toText(confidence), formatNumber(rowDifference, 1),
                      formatNumber(otherDifference, 1)});
    }
    table.print(std::cout);
}

std::vector<JudgedGeometry> judgeFile(const std::string& file, std::int64_t bytes) {
    std::optional<Shape> headerShape;
    if (bytes >= kImageHeaderBytes) {
        if (const FileHeader header = loadFileHeader(file); header.fits(bytes))
            headerShape = {header.file.width, header.file.height};
    }
    const std::vector<Geometry> geometries = plausibleGeometries(bytes);
    if (geometries.empty() && !headerShape)
        return {};
    return judgeGeometries(loadWords(file, bytes / 2), geometries, headerShape);
}

// Tells what the header says, if it looks filled, and what a defect or factory SNR file holds. Returns whether the file
// may be an image.
bool describeContent(const std::string& file, std::int64_t bytes) {
    if (bytes < kImageHeaderBytes)
        return true;
    if (isFactorySnrName(file)) {
        printHeader(loadFactorySnrHeader(file));
        printFactorySnr(loadFactorySnrFile(file));
        return false;
    }
    const FileHeader header = loadFileHeader(file);
    const bool isDefectFile = file.ends_with(".cal");
    if (isDefectFile || header.fits(bytes))
        printHeader(header);
    if (isDefectFile)
        printDefectCounts(std::cout, loadDefectLists(file));
    return !isDefectFile;
}

void describeFile(const std::string& file, const std::optional<Shape>& shape) {
    const std::int64_t bytes = fileBytes(file, kRawImageWanted);
    std::cout << file << "\n  " << bytes << " bytes\n";
    const bool isImage = describeContent(file, bytes);
    if (shape) {
        printStatistics(file, *shape);
        return;
    }
    if (!isImage)
        return;
    const std::vector<JudgedGeometry> geometries = judgeFile(file, bytes);
    printGeometries(geometries);
    if (const auto geometry = unambiguousGeometry(geometries))
        printStatistics(file, geometry->shape);
    else
        std::cout << "  give --shape for statistics\n";
}

ExitCode printInfo(const InfoOptions& options) {
    const auto shape = options.shape ? std::optional(parseShape(*options.shape)) : std::nullopt;
    for (const std::string& file : options.files)
        describeFile(file, shape);
    return ExitCode::Passed;
}

}  // namespace

void addInfoCommand(CLI::App& app, Command& chosen) {
    auto [command, options] = addSubcommand<InfoOptions>(
        app, chosen, "info", "Tell size, header, plausible shapes and statistics of files", printInfo);
    command.add_option("FILE", options.files, "Raw 16-bit images, defect files (*.cal), factory SNR files (*-SNR.raw)")
        ->required();
    command.add_option("--shape", options.shape, kShapeHelp);
}

}  // namespace qx::tool
