#include "report/ReportSections.h"

#include "results/RecordText.h"
#include "text/ComparedNumbers.h"
#include "text/MarkupText.h"
#include "text/TextStream.h"
#include "text/TextTable.h"

#include <QxUtils/StatusCode.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <set>
#include <utility>

namespace qx::tool {
namespace {

constexpr std::size_t kDateLength = 10;

bool hasSeries(const Report& report) {
    return std::ranges::any_of(report.records, [](const Record& record) { return !record.squares.empty(); });
}

bool hasExpectation(const Report& report) {
    return std::ranges::any_of(report.records, [](const Record& record) {
        return std::ranges::any_of(record.squares, [](const SnrSquare& square) { return square.expected.has_value(); });
    });
}

std::string heading(const std::string& id, const std::string& text, bool onNewPage = false) {
    return "<h2 id=\"" + id + '"' + (onNewPage ? " class=\"on-new-page\"" : "") + '>' + text + "</h2>\n";
}

std::string tag(const std::string& name, const std::string& attributes, const std::string& content) {
    return '<' + name + (attributes.empty() ? "" : ' ' + attributes) + '>' + content + "</" + name + '>';
}

std::string headCell(const std::string& text, const std::string& attributes = "") {
    return tag("th", "scope=\"col\"" + (attributes.empty() ? "" : ' ' + attributes), text);
}

// Not by its colour alone.
std::string badge(Verdict verdict) {
    const std::pair<const char*, const char*> look = verdict == Verdict::Passed      ? std::pair("passed", "✓")
                                                     : verdict == Verdict::NotPassed ? std::pair("not-passed", "✕")
                                                     : verdict == Verdict::Failed    ? std::pair("failed", "!")
                                                                                     : std::pair("measured", "·");
    return tag("span", std::string("class=\"badge ") + look.first + "\" data-sign=\"" + look.second + '"',
               toText(verdict));
}

const char* htmlSymbol(MeasureComparison comparison) {
    switch (comparison) {
    case MeasureBelow:
        return "&lt;";
    case MeasureAtMost:
        return "≤";
    case MeasureAbove:
        return "&gt;";
    default:
        return "≥";
    }
}

// What was measured, its value, its limit and whether it is met: four cells.
std::string measureCells(const Record& record, std::size_t index) {
    const Measure& measure = record.measures[index];
    const bool isMissed = measure.limit && !measure.limit->met;
    const std::string limit =
        measure.limit ? htmlSymbol(measure.limit->comparison) + std::string(" ") + shortText(measure.limit->value) : "";
    return tag("td", "", markupText(quantityOf(record, index))) +
           tag("td", isMissed ? "class=\"number missed\"" : "class=\"number\"",
               std::isnan(measure.value) ? "–" : valueText(measure)) +
           tag("td", "class=\"limit\"", limit) +
           tag("td", isMissed ? "class=\"met missed\"" : "class=\"met\"",
               isMissed        ? "not met"
               : measure.limit ? "met"
                               : "");
}

std::string messageCell(const Record& record, const std::string& span) {
    std::string text = record.code ? tag("b", "", std::to_string(*record.code)) + ' ' : "";
    text += markupText(record.message);
    if (record.grade) {
        const char* const meaning = getStatusMessage(*record.grade);
        text +=
            tag("small", "",
                "grade " + std::to_string(*record.grade) + (meaning ? markupText(": " + std::string(meaning)) : ""));
    }
    return tag("td", span + (record.verdict == Verdict::Passed ? " class=\"message fine\"" : " class=\"message\""),
               text);
}

std::size_t rowsOf(const Record& record) {
    return std::max<std::size_t>(1, record.measures.size());
}

// The rows of a record; the cells of the file stand before the first one.
std::string recordRows(const Record& record, const std::string& fileCell) {
    const std::string span = "rowspan=\"" + std::to_string(rowsOf(record)) + '"';
    const std::string check = tag("small", "", tag("code", "", markupText(record.check)));
    std::string rows = (fileCell.empty() ? "<tr class=\"next\">" : "<tr>") + fileCell +
                       tag("td", span, badge(record.verdict)) +
                       tag("td", span, markupText(record.command) + (record.check.empty() ? "" : check));
    if (record.measures.empty())
        return rows + "<td colspan=\"4\"></td>" + messageCell(record, span) + "</tr>\n";
    for (std::size_t i = 0; i < record.measures.size(); ++i) {
        rows +=
            (i == 0 ? "" : "<tr>") + measureCells(record, i) + (i == 0 ? messageCell(record, span) : "") + "</tr>\n";
    }
    return rows;
}

using RecordIterator = std::vector<Record>::const_iterator;

// Leads to the image where the page shows it.
std::string fileName(const Report& report, const std::string& file) {
    const auto image = std::ranges::find(report.images, file, &ReportImage::name);
    const std::string text = markupText(file.empty() ? "–" : file);
    if (image == report.images.end())
        return text;
    return tag("a", "href=\"#image-" + std::to_string(image - report.images.begin()) + '"', text);
}

// Records of one file that follow each other.
std::string fileRows(const Report& report, RecordIterator first, RecordIterator end) {
    std::size_t rows = 0;
    bool isFine = true;
    for (auto record = first; record != end; ++record) {
        rows += rowsOf(*record);
        isFine = isFine && record->verdict != Verdict::NotPassed && record->verdict != Verdict::Failed;
    }
    std::string cell =
        tag("th", "scope=\"rowgroup\" rowspan=\"" + std::to_string(rows) + '"', fileName(report, first->subject.file));
    std::string html = isFine ? "<tbody class=\"fine\">" : "<tbody>";
    for (auto record = first; record != end; ++record)
        html += recordRows(*record, std::exchange(cell, ""));
    return html + "</tbody>\n";
}

std::string seriesTable(const Record& record) {
    const std::vector<SnrSquare>& squares = record.squares;
    const bool isJudged = squares.front().expected.has_value();
    const std::string numeric = "class=\"number\"";
    std::string html = "<table aria-label=\"SNR of " + markupText(record.subject.file) + "\"><thead><tr>" +
                       headCell("side, pixels", numeric) + headCell("SNR", numeric);
    if (isJudged)
        html += headCell("factory", numeric) + headCell("expected", numeric) + headCell("result");
    html += "</tr></thead><tbody>\n";
    const auto number = [](const std::string& text) { return tag("td", "class=\"number\"", text); };
    for (const SnrSquare& square : squares) {
        html += "<tr>" + tag("th", "scope=\"row\" class=\"number\"", std::to_string(square.side));
        if (isJudged) {
            const auto [measured, expected] = textsCompared(square.measured, square.expected.value_or(0.0), 1);
            html += number(measured) + number(formatNumber(square.factory.value_or(0.0), 1)) + number(expected) +
                    (square.isBelow ? "<td class=\"missed\">below</td>" : "<td>ok</td>");
        } else {
            html += number(formatNumber(square.measured, 1));
        }
        html += "</tr>\n";
    }
    return html + "</tbody></table>";
}

std::string imageFacts(const ReportImage& image, const std::string& written) {
    const ImageSummary& summary = image.summary;
    const double span = summary.maximum - summary.minimum;
    const int decimals = span > 0.0 && span < 100.0 ? 2 : 1;
    const auto value = [](double number, int digits) {
        const double size = std::fabs(number);
        const bool isPlain = size == 0.0 || (size >= 0.01 && size < 1e9);
        return !std::isfinite(number) ? "–"
               : isPlain              ? formatNumber(number, digits)
                                      : shortText(static_cast<double>(static_cast<float>(number)));
    };
    const auto count = [&](double number) { return value(number, number == std::floor(number) ? 0 : decimals); };
    const Histogram& all = summary.histogram;
    const bool isEmpty = std::accumulate(all.counts.begin(), all.counts.end(), all.below + all.above) == 0;
    const std::string facts = isEmpty
                                  ? "none of them a number"
                                  : "counts from " + count(summary.minimum) + " to " + count(summary.maximum) +
                                        ", median " + count(summary.median) + ", mean " + value(summary.mean, decimals);
    return tag("p", "class=\"quiet\"",
               std::to_string(summary.shape.width) + " × " + std::to_string(summary.shape.height) + " pixels; " +
                   facts + written);
}

bool isWorse(Verdict first, Verdict second) {
    const auto rankOf = [](Verdict verdict) {
        return verdict == Verdict::Failed ? 3 : verdict == Verdict::NotPassed ? 2 : verdict == Verdict::Passed ? 1 : 0;
    };
    return rankOf(first) > rankOf(second);
}

// The worst verdict of each command.
std::string badgesOf(const Report& report, const std::string& file) {
    std::vector<std::pair<std::string, Verdict>> worst;
    for (const Record& record : report.records) {
        if (record.subject.file != file)
            continue;
        const auto known = std::ranges::find(worst, record.command, &std::pair<std::string, Verdict>::first);
        if (known == worst.end())
            worst.emplace_back(record.command, record.verdict);
        else if (isWorse(record.verdict, known->second))
            known->second = record.verdict;
    }
    std::string badges;
    for (const auto& [command, verdict] : worst)
        badges += tag("span", "", markupText(command) + ' ' + badge(verdict)) + '\n';
    return badges;
}

// 2024-03-07T12:30:00Z as people write it.
std::string readableTime(const std::string& time) {
    constexpr std::size_t kMinutes = 16;
    if (time.size() <= kMinutes)
        return markupText(time);
    return markupText(time.substr(0, kDateLength) + ' ' + time.substr(kDateLength + 1, kMinutes - kDateLength - 1) +
                      " UTC");
}

std::string writtenText(const Report& report, const std::string& file) {
    const auto record = std::ranges::find_if(report.records, [&](const Record& candidate) {
        return candidate.subject.file == file && !candidate.subject.time.empty();
    });
    return record == report.records.end() ? "" : "; written " + readableTime(record->subject.time);
}

std::string trendSymbol(const Json& trend) {
    const std::string symbol = trend.value("comparison", "");
    return symbol == "<=" ? "≤" : symbol == ">=" ? "≥" : symbol;
}

// The last value beside its limit, and where a straight line through the points leads.
std::string trendText(const Json& trend) {
    const auto numberText = [](const Json& value) {
        TextStream text;
        if (value.is_number())
            text << value.get<double>();
        return value.is_number() ? text.str() : "–";
    };
    const Json points = trend.value("points", Json::array());
    if (points.empty())
        return "No value yet.";
    std::string text = "Last value " + numberText(points.back().value("value", Json()));
    if (const std::string unit = trend.value("unit", ""); !unit.empty())
        text += ' ' + unit;
    text += " on " + points.back().value("time", "").substr(0, kDateLength);
    if (trend.contains("limit") && trend["limit"].is_number())
        text += ", limit " + trendSymbol(trend) + ' ' + numberText(trend["limit"]);
    if (const Json forecast = trend.value("forecast", Json()); forecast.is_object()) {
        text += "; changes by " + numberText(forecast.value("slopePerDay", Json())) + " a day";
        if (const Json date = forecast.value("limitDate", Json()); date.is_string())
            text += " and meets the limit on " + date.get<std::string>();
    }
    return text + '.';
}

std::string factText(const Json& value) {
    return value.is_string()         ? value.get<std::string>()
           : value.is_number_float() ? formatNumber(value.get<double>(), 1)
                                     : value.dump();
}

// What the runs that judged say at this place; all of it, where they differ.
std::string saidAt(const std::vector<Json>& heads, const char* place) {
    std::vector<std::string> said;
    for (const Json& head : heads) {
        const Json value = head.value(Json::json_pointer(place), Json());
        if (!value.is_null() && std::ranges::find(said, factText(value)) == said.end())
            said.push_back(factText(value));
    }
    constexpr std::size_t kMostTold = 4;
    std::string text;
    for (std::size_t i = 0; i < std::min(said.size(), kMostTold); ++i)
        text += (i == 0 ? "" : " or ") + said[i];
    return said.size() > kMostTold ? text + " and others" : text;
}

std::string detectorText(const std::vector<Json>& heads) {
    std::string text;
    const auto add = [&](const char* place, const std::string& before, const std::string& after) {
        const std::string said = saidAt(heads, place);
        if (!said.empty())
            text += (text.empty() ? "" : ", ") + before + said + after;
    };
    add("/detector/description", "", "");
    add("/detector/machine", "", "");
    add("/detector/exposureTimeMs", "", " ms");
    add("/detector/gain", "gain ", "");
    add("/detector/temperatureC", "", " °C");
    return text;
}

}  // namespace

std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string reportSummary(const Report& report) {
    std::set<std::string> files;
    for (const Record& record : report.records)
        files.insert(record.subject.file);
    std::string text = counted(report.records.size(), "result") + " of " + counted(files.size(), "image") + ": ";
    bool isFirst = true;
    for (const Verdict verdict : {Verdict::Passed, Verdict::NotPassed, Verdict::Measured, Verdict::Failed}) {
        const auto count = std::ranges::count(report.records, verdict, &Record::verdict);
        if (count == 0)
            continue;
        text += (isFirst ? "" : ", ") + std::to_string(count) + ' ' + toText(verdict);
        isFirst = false;
    }
    return text + '.';
}

std::string reportFacts(const Report& report) {
    std::vector<ReportFact> facts = {{"Judged by", "QxUtils " + saidAt(report.heads, "/version")},
                                     {"Detector", detectorText(report.heads)}};
    facts.insert(facts.end(), report.facts.begin(), report.facts.end());
    std::string html = "<dl class=\"facts\">\n";
    for (const auto& [name, value] : facts)
        html += tag("dt", "", markupText(name)) + tag("dd", "", markupText(value)) + '\n';
    return html + "</dl>";
}

std::string reportContents(const Report& report) {
    std::string links = "<a href=\"#verdicts\">Verdicts</a>";
    if (hasSeries(report))
        links += " <a href=\"#snr\">SNR series</a>";
    if (!report.trends.empty())
        links += " <a href=\"#trends\">Trends</a>";
    if (!report.images.empty())
        links += " <a href=\"#images\">Images</a>";
    if (!report.logLines.empty())
        links += " <a href=\"#log\">Log</a>";
    return links;
}

std::string verdictSection(const Report& report) {
    std::string html =
        heading("verdicts", "Verdicts") +
        "<p class=\"filter script-only\"><label><input type=\"checkbox\" id=\"failing-only\"> only what did "
        "not pass</label></p>\n<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-labelledby=\"verdicts\">"
        "<table id=\"verdicts-table\" aria-labelledby=\"verdicts\">\n<thead><tr>" +
        headCell("Image") + headCell("Verdict") + headCell("Check") + headCell("What is measured") +
        headCell("Value", "class=\"number\"") + headCell("Limit", "colspan=\"2\"") + headCell("Code and meaning") +
        "</tr></thead>\n";
    for (auto first = report.records.begin(); first != report.records.end();) {
        const auto end = std::find_if(first, report.records.end(),
                                      [&](const Record& record) { return record.subject.file != first->subject.file; });
        html += fileRows(report, first, end);
        first = end;
    }
    return html + "</table></div>\n";
}

std::string seriesSection(const Report& report) {
    if (!hasSeries(report))
        return "";
    std::string html = heading("snr", "SNR series") +
                       "<p class=\"quiet\">The signal-to-noise ratio of nested, centred squares." +
                       (hasExpectation(report) ? " The expectation is scaled to the image's smallest square: a low "
                                                 "dose alone does not fail."
                                               : "") +
                       "</p>\n<div class=\"series\">\n";
    for (std::size_t i = 0; i < report.records.size(); ++i) {
        const Record& record = report.records[i];
        if (record.squares.empty())
            continue;
        html += "<figure data-record=\"" + std::to_string(i) + "\">" +
                tag("figcaption", "", tag("span", "", markupText(record.subject.file)) + ' ' + badge(record.verdict)) +
                "<details open><summary>Numbers</summary>" + seriesTable(record) + "</details></figure>\n";
    }
    return html + "</div>\n";
}

std::string trendSection(const Report& report) {
    if (report.trends.empty())
        return "";
    std::string html = heading("trends", "Trends") +
                       "<p class=\"quiet\">What the store holds, with a straight line through it. Ringed: what this "
                       "report judges.</p>\n<div class=\"trends\">\n";
    for (std::size_t i = 0; i < report.trends.size(); ++i) {
        const Json& trend = report.trends[i];
        const std::string unit = trend.value("unit", "");
        html += "<figure data-trend=\"" + std::to_string(i) + "\">" +
                tag("figcaption", "",
                    tag("span", "", markupText(trend.value("measure", "") + (unit.empty() ? "" : ", " + unit))) + ' ' +
                        tag("code", "class=\"quiet\"", markupText(trend.value("check", "")))) +
                tag("p", "class=\"quiet\"", markupText(trendText(trend))) + "</figure>\n";
    }
    return html + "</div>\n";
}

std::string imageSection(const Report& report) {
    if (report.images.empty())
        return "";
    std::string html = heading("images", "Images", true);
    for (std::size_t i = 0; i < report.images.size(); ++i) {
        const ReportImage& image = report.images[i];
        html += "<article class=\"image\" id=\"image-" + std::to_string(i) + "\" data-image=\"" + std::to_string(i) +
                "\">\n<header>" + tag("h3", "", markupText(image.name)) + '\n' + badgesOf(report, image.name) +
                "</header>\n" + imageFacts(image, writtenText(report, image.name)) + "</article>\n";
    }
    return html;
}

std::string logSection(const Report& report) {
    if (report.logLines.empty())
        return "";
    std::string html = heading("log", "Log of the run") +
                       "<div class=\"log\" tabindex=\"0\" role=\"region\" aria-label=\"Log of the run\">";
    for (const std::string& line : report.logLines)
        html += markupText(line) + '\n';
    return html + "</div>\n";
}

}  // namespace qx::tool
