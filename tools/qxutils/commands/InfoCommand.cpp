#include "commands/Command.h"
#include "common/FileAccess.h"
#include "common/TextTable.h"
#include "image/RawImage.h"
#include "info/FileHeader.h"
#include "info/Geometry.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

struct InfoOptions {
    std::vector<std::string> files;
    std::optional<std::string> shape;
};

std::string headerText(bool hasHeader) {
    return hasHeader ? "behind a header" : "no header";
}

void printStatistics(const std::string& file, const Shape& shape) {
    const RawImage image = loadRawImage(file, shape);
    const auto count = image.pixelCount();
    const WORD* pixels = image.pixels.data();
    const auto [width, height] = image.shape;
    std::cout << "  statistics for " << toText(image.shape) << ", " << headerText(hasImageHeader(file, shape)) << '\n';
    std::cout << "    min " << pixels[getMinIndex(pixels, count)] << ", max "
              << *std::max_element(image.pixels.begin(), image.pixels.end()) << ", mean "
              << formatNumber(getMean(pixels, count), 2) << ", stdev "
              << formatNumber(static_cast<double>(getStdev(pixels, width, height)), 2) << ", median "
              << getMedian(pixels, count) << '\n';
}

void printGeometries(const std::vector<Geometry>& geometries) {
    if (geometries.empty()) {
        std::cout << "  no plausible panel shape fits this size\n";
        return;
    }
    TextTable table({"fits", "header", "panel"});
    for (const Geometry& geometry : geometries) {
        table.addRow(
            {toText(geometry.shape), geometry.hasHeader ? "yes" : "no", geometry.isCommonPanel ? "common" : "unknown"});
    }
    table.print(std::cout);
}

void describeFile(const std::string& file, const std::optional<Shape>& shape) {
    const std::int64_t bytes = fileBytes(file, kRawImageWanted);
    std::cout << file << "\n  " << bytes << " bytes\n";
    const Content content = printContent(file, bytes);
    if (shape) {
        printStatistics(file, *shape);
        return;
    }
    if (content != Content::Image)
        return;
    const std::vector<Geometry> geometries = plausibleGeometries(bytes);
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
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = app.add_subcommand("info", "Tell size, header, plausible shapes and statistics of files");
    command
        ->add_option("FILE", options->files, "Raw 16-bit images, defect files (*.cal), factory SNR files (*-SNR.raw)")
        ->required();
    command->add_option("--shape", options->shape, "WIDTHxHEIGHT in pixels");
    command->callback([options, &chosen] { chosen = [options] { return printInfo(*options); }; });
}

}  // namespace qx::tool
