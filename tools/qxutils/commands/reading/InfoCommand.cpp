#include "commands/Subcommand.h"
#include "defects/DefectTables.h"
#include "files/FileAccess.h"
#include "files/NamedInput.h"
#include "files/NativeFile.h"
#include "image/MedianOf.h"
#include "image/RawImage.h"
#include "info/FileHeader.h"
#include "info/Geometry.h"
#include "options/BatchOptions.h"
#include "results/Subject.h"
#include "snr/FactorySnrRecords.h"
#include "text/FileName.h"
#include "text/TextStream.h"
#include "text/TextTable.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

struct InfoOptions {
    BatchOptions batch{.endings = {".raw", ".cal"}};
    std::optional<std::string> shape;
};

void addStatistics(Record& record, std::ostream& out, const std::string& file, const Shape& shape) {
    const LoadedImage loaded = loadImageFile(file, shape);
    const RawImage& image = loaded.image;
    const WORD* const pixels = image.pixels.data();
    const int count = image.pixelCount();
    const WORD least = pixels[getMinIndex(pixels, count)];
    const WORD largest = *std::max_element(image.pixels.begin(), image.pixels.end());
    const double mean = getMean(pixels, count);
    const double deviation = getStdev(pixels, shape.width, shape.height);
    const WORD median = medianOf(pixels, count);
    out << "  statistics for " << toText(shape) << ", " << (loaded.header.empty() ? "no header" : "behind a header")
        << ", counts\n    min " << least << ", max " << largest << ", mean " << formatNumber(mean, 2) << ", stdev "
        << formatNumber(deviation, 2) << ", median " << median << '\n';
    record.subject = subjectOf(file, loaded);
    record.measures = {{"minimum", double(least), "counts"},
                       {"maximum", double(largest), "counts"},
                       {"mean", plainNumber(mean), "counts", 2},
                       {"standard deviation", plainNumber(deviation), "counts", 2},
                       {"median", double(median), "counts"}};
}

void printGeometries(std::ostream& out, const std::vector<JudgedGeometry>& geometries) {
    if (geometries.empty()) {
        out << "  no plausible panel shape fits this size\n";
        return;
    }
    TextTable table({"fits, pixels", "header", "panel", "guess", "row step, counts", "other width, counts"});
    for (const auto& [geometry, confidence, rowDifference, otherDifference] : geometries) {
        table.addRow({toText(geometry.shape), geometry.hasHeader ? "yes" : "no",
                      geometry.isCommonPanel ? "common" : "unknown", toText(confidence), formatNumber(rowDifference, 1),
                      formatNumber(otherDifference, 1)});
    }
    table.print(out);
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

// Tells what the header says, if it looks filled, and what a defect or factory SNR file holds. Returns the records of a
// file that is no image.
std::vector<Record> describeContent(std::ostream& out, const std::string& file, std::int64_t bytes, bool tellsContent) {
    if (bytes < kImageHeaderBytes)
        return {};
    if (isFactorySnrName(file)) {
        printHeader(out, loadFactorySnrHeader(file));
        std::vector<Record> records = factorySnrRecords(file);
        out << records.back().text;
        return records;
    }
    const FileHeader header = loadFileHeader(file);
    const bool isDefectFile = hasEnding(file, ".cal");
    if (isDefectFile || header.fits(bytes))
        printHeader(out, header);
    if (!isDefectFile)
        return {};
    const NamedInput input(file, kDefectFileWanted);
    const DefectLists lists = loadDefectLists(input);
    printDefectCounts(out, lists);
    Record record = defectCountsOf(lists);
    record.subject = subjectOf(input, tellsContent);
    record.subject.shape = lists.imageShape();
    return {record};
}

Record describeImage(std::ostream& out, const std::string& file, std::int64_t bytes, const std::optional<Shape>& shape,
                     bool tellsContent) {
    Record record;
    if (shape) {
        addStatistics(record, out, file, *shape);
        return record;
    }
    const std::vector<JudgedGeometry> geometries = judgeFile(file, bytes);
    printGeometries(out, geometries);
    if (const auto geometry = unambiguousGeometry(geometries)) {
        addStatistics(record, out, file, geometry->shape);
        return record;
    }
    out << "  give --shape for statistics\n";
    record.subject = subjectOf(NamedInput(file, kRawImageWanted), tellsContent);
    return record;
}

// Nothing tells how much there is to come.
std::vector<Record> describeStream(const std::string& file, const std::optional<Shape>& shape) {
    if (!shape)
        throw ToolError(file + ": a stream does not tell its size; give --shape");
    TextStream out;
    out << printable(file) << '\n';
    Record record;
    addStatistics(record, out, file, *shape);
    record.text = out.str();
    return {record};
}

std::vector<Record> describeFile(const std::string& file, const std::optional<Shape>& shape, bool tellsContent) {
    if (streamOfInput(file))
        return describeStream(file, shape);
    const std::int64_t bytes = fileBytes(file, kRawImageWanted, kFileOrStream);
    TextStream out;
    out << printable(file) << "\n  " << bytes << " bytes\n";
    std::vector<Record> records = describeContent(out, file, bytes, tellsContent);
    if (records.empty())
        records.push_back(describeImage(out, file, bytes, shape, tellsContent));
    records.back().text = out.str();
    return records;
}

ExitCode runInfo(const InfoOptions& options) {
    const auto shape = options.shape ? std::optional(parseShape(*options.shape)) : std::nullopt;
    const bool tellsContent = options.batch.results.tellContent();
    return runBatch(
        options.batch, "info", [&](const std::string& file) { return describeFile(file, shape, tellsContent); },
        printTexts);
}

}  // namespace

void addInfoCommand(CLI::App& app, Command& chosen) {
    auto [command, options] = addSubcommand<InfoOptions>(
        app, chosen, "info", "Tell size, header, plausible shapes and statistics of files", runInfo);
    addBatchOptions(command, options.batch, "Raw 16-bit images, defect files (*.cal), factory SNR files (*-SNR.raw)");
    command.add_option("--shape", options.shape, kShapeHelp)->type_name("WxH");
}

}  // namespace qx::tool
