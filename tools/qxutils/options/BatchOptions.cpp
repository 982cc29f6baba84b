#include "options/BatchOptions.h"

#include "options/Choice.h"
#include "options/NumberCheck.h"

#include <CLI/CLI.hpp>

namespace qx::tool {
namespace {

constexpr int kMaxJobs = 64;

}  // namespace

void addResultOptions(CLI::App& command, ResultOptions& options) {
    takeOneOf<Format>(command.add_option("--format", options.format, "How results are told; a table when left out"),
                      {{"table", Format::Table}, {"json", Format::Json}, {"csv", Format::Csv}});
}

void addPanelOptions(CLI::App& command, ResultOptions& options) {
    addResultOptions(command, options);
    addStoreOption(command, options.store);
}

void addFileNames(CLI::App& command, BatchOptions& options, const std::string& wanted) {
    command
        .add_option("FILE", options.names,
                    wanted + "; folders stand for those in them, @LIST for those that a file names one a line, - for "
                             "one on standard input")
        ->required();
    command.add_flag("--recursive", options.recursive, "Folders stand for those in the folders below them, too");
}

void addBatchOptions(CLI::App& command, BatchOptions& options, const std::string& wanted) {
    addFileNames(command, options, wanted);
    command.add_option("--jobs", options.jobs, "Processes that work at the same time")
        ->check(numberWithin(1, kMaxJobs))
        ->capture_default_str();
    command.add_flag("--quiet", options.quiet, "No line of progress on a terminal");
    addResultOptions(command, options.results);
}

void addLimitsOption(CLI::App& command, std::optional<std::string>& limits) {
    command.add_option("--limits", limits, "TOML file with limits, written as for --detector")->type_name("FILE");
}

void addStoreOption(CLI::App& command, std::optional<std::string>& store) {
    command.add_option("--store", store, "SQLite file that keeps the results too; qxutils trend reads it")
        ->type_name("FILE");
}

}  // namespace qx::tool
