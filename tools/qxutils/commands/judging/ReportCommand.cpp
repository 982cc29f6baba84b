#include "batch/InputNames.h"
#include "batch/Outcome.h"
#include "checks/FileJudge.h"
#include "commands/Subcommand.h"
#include "detector/DetectorSetup.h"
#include "files/FileAccess.h"
#include "options/BatchOptions.h"
#include "options/Choice.h"
#include "options/NumberCheck.h"
#include "report/ReportMaker.h"
#include "report/ReportSections.h"
#include "store/OpenStore.h"
#include "store/Trend.h"
#include "text/FileName.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

struct ReportOptions {
    std::vector<std::string> names;
    bool recursive = false;
    std::optional<std::string> shape;
    std::vector<std::string> kinds;
    std::optional<std::string> dark;
    std::optional<std::string> factory;
    std::optional<std::string> limits;
    std::optional<std::string> store;
    float blockLimit = kDefaultBlockLimit;
    std::string title = "Report on images";
    std::string output;
};

// Keeps the results, and tells how the measures that are among them went.
Json trendsOfToday(PanelStore& store, const Report& report) {
    store.add(report.records, agreedHead(report.heads).at("detector"));
    std::vector<Trend> trends = trendsOf(store);
    std::erase_if(trends, [&report](const Trend& trend) {
        const auto isMeasured = [&trend](const Record& record) {
            return (record.check.empty() ? record.command : record.check) == trend.series.check;
        };
        return trend.series.points.size() < 2 || std::ranges::none_of(report.records, isMeasured);
    });
    return trendsJson(trends);
}

// Returns the worst of all; one file that cannot be judged is told and the rest go on.
ExitCode addFiles(ReportMaker& maker, const NamedFiles& named) {
    ExitCode worst = named.problems.empty() ? ExitCode::Passed : ExitCode::Failed;
    for (const std::string& problem : named.problems)
        printErrorLine(problem.c_str());
    for (const std::string& file : named.files) {
        const Outcome outcome = maker.add(file);
        if (!outcome.problem.empty())
            printErrorLine(outcome.problem.c_str());
        worst = worse(worst, outcome.exitCode);
    }
    return worst;
}

// The files; throws a ToolError when there is none, or when the report would overwrite one.
NamedFiles requireFiles(const ReportOptions& options) {
    NamedFiles named = filesNamedBy(options.names, options.recursive, {".raw"});
    if (named.files.empty())
        throw ToolError(named.problems.front(), ExitCode::Usage);
    std::vector<std::string> others = named.files;
    if (options.store)
        others.push_back(*options.store);
    requireDistinct({options.output, besideReport(options.output, ".json"), besideReport(options.output, ".csv")},
                    others);
    return named;
}

ExitCode runReport(const ReportOptions& options) {
    requireName(options.output, "the page to write");
    if (options.limits)
        loadDetectorFile(*options.limits);
    const NamedFiles named = requireFiles(options);
    const std::optional<Shape> shape = options.shape ? std::optional(parseShape(*options.shape)) : std::nullopt;
    // Before the work: a store that cannot be used is told at once.
    const std::unique_ptr<PanelStore> store = openStore(options.store);
    ReportMaker maker(
        {options.title, shape, options.kinds, options.dark, options.factory, options.limits, options.blockLimit},
        named.files.size());
    const ExitCode worst = addFiles(maker, named);
    Report report = maker.finish();
    if (report.records.empty())
        throw ToolError(named.files.front() +
                            ": there is no image to report of; give raw images, or results that qxutils wrote (*.json)",
                        ExitCode::Usage);
    if (store)
        report.trends = trendsOfToday(*store, report);
    writeReport(options.output, report);
    std::cout << printable(options.output) << ": " << counted(report.records.size(), "result") << ", "
              << counted(report.images.size(), "image") << '\n';
    return worst;
}

}  // namespace

void addReportCommand(CLI::App& app, Command& chosen) {
    auto [command, options] = addSubcommand<ReportOptions>(
        app, chosen, "report", "Judge images and write one page about them, with JSON and CSV beside it", runReport);
    command
        .add_option("FILE", options.names,
                    "Raw images, or results that qxutils wrote (*.json); folders stand for those in them, @LIST for "
                    "those that a file names one a line")
        ->required();
    command.add_flag("--recursive", options.recursive, "Folders stand for those in the folders below them, too");
    command.add_option("--shape", options.shape, "WIDTHxHEIGHT in pixels; results tell it themselves")
        ->type_name("WxH");
    command.add_option("-o,--output", options.output, "The page to write (*.html)")->type_name("FILE")->required();
    takeOneOf(command.add_option("--check", options.kinds,
                                 "Kinds of qxutils check, or snr; those that need nothing but the image when left out"),
              judgedKinds());
    command.add_option("--dark", options.dark, "The dark image, for the checks first and pre")->type_name("FILE");
    command
        .add_option("--factory", options.factory, "Judge the SNR against the series in this file, as qxutils snr does")
        ->type_name("FILE");
    addLimitsOption(command, options.limits);
    command
        .add_option("--block-limit", options.blockLimit, "Relative deviation that more than 3 blocks may not exceed")
        ->check(numberFrom(0.0F))
        ->capture_default_str();
    addStoreOption(command, options.store);
    command.add_option("--title", options.title, "Heading of the page")->capture_default_str();
}

}  // namespace qx::tool
