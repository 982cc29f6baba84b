#include "batch/Batch.h"

#include "batch/ChildProcess.h"
#include "batch/InputNames.h"
#include "batch/Outcome.h"
#include "batch/Progress.h"
#include "batch/Workers.h"
#include "commands/Choice.h"
#include "commands/StoreOption.h"
#include "common/FileName.h"
#include "common/NativeFile.h"
#include "common/Terminal.h"
#include "common/WholeFile.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>

namespace qx::tool {
namespace {

constexpr int kMaxJobs = 64;

// A line of progress would wipe out what stands there.
bool showsResultsAtOnce(Format format) {
    return format != Format::Table && isTerminal();
}

// Writes outcomes as they come and remembers the worst.
class Run {
public:
    Run(const ResultOptions& options, const PrintTable& printTable, std::size_t files, bool isQuiet)
        : writer_(std::cout, options.format, printTable), keep_(storeSink(options.store)),
          progress_(files, isQuiet || showsResultsAtOnce(options.format)) {}

    void take(const Outcome& outcome) {
        if (!outcome.problem.empty())
            tell(outcome.problem);
        // What was told is kept, whatever happens in between.
        for (const Record& record : outcome.records)
            keep_(record);
        for (const Record& record : outcome.records)
            writer_.add(record);
        worst_ = worse(worst_, outcome.exitCode);
        progress_.fileDone();
    }

    void tellProblem(const std::string& problem) {
        tell(problem);
        worst_ = worse(worst_, ExitCode::Failed);
    }

    ExitCode finish() {
        progress_.clear();
        writer_.finish();
        return worst_;
    }

private:
    void tell(const std::string& problem) {
        progress_.clear();
        printErrorLine(problem.c_str());
    }

    ResultWriter writer_;
    RecordSink keep_;
    Progress progress_;
    ExitCode worst_ = ExitCode::Passed;
};

// Another process has no such stream, or another one.
bool readsStream(const std::vector<std::string>& files) {
    return std::ranges::any_of(files, [](const std::string& file) { return streamOfInput(file).has_value(); });
}

// What a dry run announces stands in the order of the files, and nothing is made that another process could find.
bool staysInThisProcess(const BatchOptions& options, const std::vector<std::string>& files) {
    return options.jobs == 1 || files.size() < 2 || writePolicy().dryRun || readsStream(files) ||
           readsStream(options.shared);
}

}  // namespace

BatchOptions BatchOptions::reading(const std::optional<std::string>& file) const {
    BatchOptions options = *this;
    if (file)
        options.shared.push_back(*file);
    return options;
}

std::vector<std::string> filesNamedBy(const BatchOptions& options) {
    const NamedFiles named = filesNamedBy(options.names, options.recursive, options.endings);
    if (!named.problems.empty())
        throw ToolError(named.problems.front());
    return named.files;
}

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
        ->check(CLI::Range(1, kMaxJobs))
        ->capture_default_str();
    command.add_flag("--quiet", options.quiet, "No line of progress on a terminal");
    addResultOptions(command, options.results);
}

ExitCode runBatch(const BatchOptions& options, const std::string& command, const JudgeFile& judge,
                  const PrintTable& printTable, const PrepareFiles& prepare) {
    const auto outcomeOfFile = [&](const std::string& file) {
        return outcomeOf(command, file, [&] { return judge(file); });
    };
    if (isChildProcess()) {
        serveParent(outcomeOfFile);
        return ExitCode::Passed;
    }
    const NamedFiles named = filesNamedBy(options.names, options.recursive, options.endings);
    if (prepare)
        prepare(named.files);
    Run run(options.results, printTable, named.files.size(), options.quiet);
    for (const std::string& problem : named.problems)
        run.tellProblem(problem);
    if (staysInThisProcess(options, named.files)) {
        // On the way that outcomes of other processes come, so that nothing depends on the number of processes.
        for (const std::string& file : named.files)
            run.take(outcomeFromLine(toLine(outcomeOfFile(file))));
    } else {
        judgeInProcesses(named.files, options.jobs, command, [&run](const Outcome& outcome) { run.take(outcome); });
    }
    return run.finish();
}

ExitCode runOnce(const ResultOptions& options, const std::string& command,
                 const std::function<std::vector<Record>()>& judge, const PrintTable& printTable) {
    Run run(options, printTable, 1, true);
    run.take(outcomeFromLine(toLine(outcomeOf(command, "", judge))));
    return run.finish();
}

}  // namespace qx::tool
