#include "commands/Subcommand.h"
#include "options/BatchOptions.h"
#include "options/ImageOptions.h"
#include "picture/PngWriter.h"
#include "results/CsvLine.h"
#include "store/TrendPicture.h"
#include "text/ComparedNumbers.h"
#include "text/DateText.h"
#include "text/Suggestion.h"
#include "text/TextTable.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

struct TrendOptions {
    std::string store;
    TrendFilter filter;
    ResultOptions results;
    std::optional<std::string> picture;
};

std::string slopeText(const Trend& trend) {
    if (!trend.forecast)
        return "-";
    std::array<char, 32> text{};
    const int length = std::snprintf(text.data(), text.size(), "%.3g", trend.forecast->slopePerDay);
    return {text.data(), static_cast<std::size_t>(length)};
}

std::string limitText(const TrendSeries& series) {
    return series.limit ? symbolOf(series.limit->comparison) + (' ' + shortText(series.limit->value)) : "-";
}

std::string titleOf(const TrendSeries& series) {
    const std::string title = series.check + ": " + series.measure;
    return series.unit.empty() ? title : title + ", " + series.unit;
}

void printTable(const std::vector<Trend>& trends) {
    TextTable table({"count", "first", "last", "mean", "per day", "limit", "limit met"});
    table.alignLeft({5});
    for (const Trend& trend : trends) {
        const TrendSeries& series = trend.series;
        const auto text = [&](double value) { return formatNumber(value, series.decimals); };
        table.addTitle(titleOf(series));
        table.addRow({std::to_string(series.points.size()), text(trend.first().value), text(trend.last().value),
                      text(trend.mean), slopeText(trend), limitText(series), outlookText(trend)});
    }
    table.print(std::cout);
}

void printCsv(const std::vector<Trend>& trends) {
    std::cout << "check,measure,unit,count,firstTime,first,lastTime,last,mean,slopePerDay,comparison,limit,outlook\n";
    for (const Trend& trend : trends) {
        const std::optional<Limit>& limit = trend.series.limit;
        std::cout << csvLine(
            {trend.series.check, trend.series.measure, trend.series.unit, std::to_string(trend.series.points.size()),
             trend.first().time, shortText(trend.first().value), trend.last().time, shortText(trend.last().value),
             shortText(trend.mean), trend.forecast ? shortText(trend.forecast->slopePerDay) : "",
             limit ? symbolOf(limit->comparison) : "", limit ? shortText(limit->value) : "", outlookText(trend)});
    }
}

void print(const std::vector<Trend>& trends, Format format) {
    if (format == Format::Json)
        std::cout << toLine(trendsJson(trends)) << '\n';
    else if (format == Format::Csv)
        printCsv(trends);
    else
        printTable(trends);
}

// Nothing for a check that the store holds.
std::string didYouMeanCheck(const std::string& check, const std::vector<std::string>& names) {
    return std::ranges::find(names, check) != names.end() ? "" : didYouMean(check, names);
}

ExitCode runTrend(const TrendOptions& options) {
    const std::string& since = options.filter.since;
    if (!since.empty() && !isDateOrTime(since))
        throw ToolError("\"" + since + "\" is no date; give --since as 2024-03-07", ExitCode::Usage);
    if (options.picture)
        requirePictureName(*options.picture, options.store);
    const PanelStore store(options.store, PanelStore::Use::Reading);
    const std::vector<Trend> trends = trendsOf(store, options.filter);
    if (trends.empty()) {
        throw ToolError(options.store + ": holds no such measure; give another --check, --measure or --since" +
                        didYouMeanCheck(options.filter.check, store.checkNames()));
    }
    if (options.picture)
        writePicture(*options.picture, drawTrends(trends));
    print(trends, options.results.format);
    return ExitCode::Passed;
}

}  // namespace

void addTrendCommand(CLI::App& app, Command& chosen) {
    auto [command, options] = addSubcommand(
        app, chosen, "trend", "Tell how a panel's measures change over time, and when a straight line meets the limit",
        runTrend);
    command.add_option("STORE", options.store, "SQLite file that --store wrote")->required();
    command.add_option("--check", options.filter.check, "Only this check: \"dark\", \"check dark\" or the function");
    command.add_option("--measure", options.filter.measure, "Only measures whose name has this in it");
    command.add_option("--since", options.filter.since, "Only files written on this day or later: 2024-03-07")
        ->type_name("DATE");
    command.add_option("-o,--output", options.picture, "Draw them, too, as an SVG (.svg) or a PNG")->type_name("FILE");
    addResultOptions(command, options.results);
}

}  // namespace qx::tool
