#include "report/Report.h"

#include "common/ToolError.h"
#include "embedded/ReportPage.h"
#include "files/FileAccess.h"
#include "image/RawImage.h"
#include "report/ReportSections.h"
#include "results/RecordCsv.h"
#include "text/Base64Text.h"
#include "text/FileName.h"
#include "text/MarkupText.h"
#include "text/TextStream.h"

#include <cstddef>
#include <string_view>

namespace qx::tool {
namespace {

constexpr std::string_view kPageEnding = ".html";

const char* textOf(MarkState state) {
    switch (state) {
    case MarkState::Met:
        return "met";
    case MarkState::NotMet:
        return "not met";
    default:
        return "examined";
    }
}

Json jsonOf(const MarkedPlace& mark) {
    Json json = {{"x", mark.place.corner.x},          {"y", mark.place.corner.y}, {"width", mark.place.shape.width},
                 {"height", mark.place.shape.height}, {"label", mark.label},      {"state", textOf(mark.state)}};
    if (!mark.outline.empty())
        json["lines"] = Json::array();
    for (const MarkLine& line : mark.outline)
        json["lines"].push_back({line.from.x, line.from.y, line.to.x, line.to.y});
    return json;
}

Json jsonOf(const Overlay& overlay) {
    Json json = {{"name", overlay.name}, {"check", overlay.check}, {"marks", Json::array()}};
    for (const MarkedPlace& mark : overlay.marks)
        json["marks"].push_back(jsonOf(mark));
    return json;
}

Json jsonOf(const Shape& shape) {
    return {{"width", shape.width}, {"height", shape.height}};
}

Json jsonOf(const Histogram& histogram) {
    return {{"first", histogram.first},
            {"width", histogram.width},
            {"counts", histogram.counts},
            {"below", histogram.below},
            {"above", histogram.above}};
}

// Single precision is more than a plot shows, and shorter.
Json plottedNumbers(const std::vector<double>& values) {
    Json json = Json::array();
    for (const double value : values)
        json.push_back(plainNumber(static_cast<double>(static_cast<float>(value))));
    return json;
}

Json jsonOf(const ReportImage& image) {
    const ImageSummary& summary = image.summary;
    Json json = {{"name", image.name},
                 {"shape", jsonOf(summary.shape)},
                 {"minimum", summary.minimum},
                 {"maximum", summary.maximum},
                 {"median", summary.median},
                 {"mean", summary.mean},
                 {"window", {{"black", summary.black}, {"white", summary.white}}},
                 {"histogram", jsonOf(summary.histogram)},
                 {"columns", plottedNumbers(summary.columnMeans)},
                 {"rows", plottedNumbers(summary.rowMeans)},
                 {"overlays", Json::array()},
                 {"reduced", jsonOf(summary.reduced.shape)},
                 {"offset", summary.offset},
                 {"scale", summary.scale},
                 {"pixels", base64Text(pixelBytes(summary.reduced))}};
    for (const Overlay& overlay : image.overlays)
        json["overlays"].push_back(jsonOf(overlay));
    return json;
}

Json recordsOf(const Report& report) {
    Json json = Json::array();
    for (const Record& record : report.records)
        json.push_back(toJson(record));
    return json;
}

Json jsonOf(const Report& report) {
    Json json = agreedHead(report.heads);
    json["records"] = recordsOf(report);
    json["images"] = Json::array();
    for (const ReportImage& image : report.images)
        json["images"].push_back(jsonOf(image));
    json["trends"] = report.trends;
    return json;
}

// JSON that cannot end the element it stands in, nor begin a comment there.
std::string inScript(const Json& json) {
    const std::string text = toLine(json);
    std::string safe;
    safe.reserve(text.size());
    std::size_t start = 0;
    for (std::size_t bracket = 0; (bracket = text.find('<', start)) != std::string::npos; start = bracket + 1) {
        safe.append(text, start, bracket - start);
        safe += "\\u003c";
    }
    return safe.append(text, start);
}

std::string fillIn(std::string_view name, const Report& report) {
    if (name == "title")
        return markupText(report.title);
    if (name == "summary")
        return markupText(reportSummary(report));
    if (name == "facts")
        return reportFacts(report);
    if (name == "contents")
        return reportContents(report);
    if (name == "verdicts")
        return verdictSection(report);
    if (name == "series")
        return seriesSection(report);
    if (name == "trends")
        return trendSection(report);
    if (name == "images")
        return imageSection(report);
    if (name == "log")
        return logSection(report);
    if (name == "data")
        return inScript(jsonOf(report));
    throw ToolError("the report's page asks for \"" + std::string(name) + "\", which nothing fills in");
}

std::string csvOf(const Report& report) {
    TextStream text;
    printCsvHead(text);
    for (const Record& record : report.records)
        printCsv(text, record);
    return text.str();
}

}  // namespace

std::string renderReport(const Report& report) {
    const std::string_view page = embeddedReportPage();
    std::string html;
    std::size_t start = 0;
    for (std::size_t open = 0; (open = page.find("{{", start)) != std::string_view::npos;) {
        const std::size_t close = page.find("}}", open);
        html.append(page, start, open - start);
        html += fillIn(page.substr(open + 2, close - open - 2), report);
        start = close + 2;
    }
    return html.append(page, start);
}

std::string besideReport(const std::string& path, const std::string& ending) {
    if (!hasEnding(path, kPageEnding))
        throw ToolError(path + ": a report is a page; give a name that ends in " + std::string(kPageEnding),
                        ExitCode::Usage);
    return path.substr(0, path.size() - kPageEnding.size()) + ending;
}

void writeReport(const std::string& path, const Report& report) {
    const std::string page = renderReport(report);
    Json results = agreedHead(report.heads);
    results["results"] = recordsOf(report);
    writeFile(besideReport(path, ".json"), toLine(results) + '\n');
    writeFile(besideReport(path, ".csv"), csvOf(report));
    writeFile(path, page);
}

}  // namespace qx::tool
