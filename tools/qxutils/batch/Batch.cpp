#include "batch/Batch.h"

#include "batch/ChildProcess.h"
#include "batch/InputNames.h"
#include "batch/Outcome.h"
#include "batch/Progress.h"
#include "batch/Workers.h"
#include "detector/DetectorSetup.h"
#include "files/NativeFile.h"
#include "files/WholeFile.h"
#include "results/RecordJson.h"
#include "store/OpenStore.h"
#include "text/FileName.h"
#include "text/Terminal.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace qx::tool {
namespace {

// A line of progress would wipe out what stands there.
bool showsResultsAtOnce(Format format) {
    return format != Format::Table && isTerminal();
}

// Writes outcomes as they come and remembers the worst.
class Run {
public:
    Run(const ResultOptions& options, const PrintTable& printTable, std::size_t files, bool isQuiet)
        : writer_(std::cout, options.format, printTable), store_(openStore(options.store)),
          progress_(files, isQuiet || showsResultsAtOnce(options.format)) {}

    void take(const Outcome& outcome) {
        // What was told is kept, whatever happens in between.
        if (store_)
            store_->add(outcome.records, detector_);
        for (const Record& record : outcome.records)
            writer_.add(record);
        // At the end: what makes the work above fail is told instead.
        if (!outcome.problem.empty())
            tell(outcome.problem);
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
    std::unique_ptr<PanelStore> store_;
    Json detector_ = store_ ? documentHead().at("detector") : Json();
    Progress progress_;
    ExitCode worst_ = ExitCode::Passed;
};

// Where outcomes cannot be taken any more, those before are whole results.
ExitCode finished(Run& run, const std::function<void()>& takeOutcomes) {
    try {
        takeOutcomes();
    } catch (const ToolError&) {
        run.finish();
        throw;
    }
    return run.finish();
}

// So that nothing depends on the number of processes.
Outcome asFromOtherProcess(const Outcome& outcome) {
    return outcomeFromLine(toLine(outcome));
}

// Another process has no such stream, or another one.
bool readsStream(const std::vector<std::string>& files) {
    return std::ranges::any_of(files, [](const std::string& file) { return streamOfInput(file).has_value(); });
}

// What a dry run announces stands in the order of the files, and nothing is made that another process could find.
bool staysInThisProcess(const BatchOptions& options, const std::vector<std::string>& files) {
    return options.jobs == 1 || files.size() < 2 || writePolicy().dryRun || readsStream(files) ||
           readsStream(options.shared) || isSetFromStream();
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
    std::ranges::for_each(named.files, protectInput);
    if (prepare)
        prepare(named.files);
    Run run(options.results, printTable, named.files.size(), options.quiet);
    for (const std::string& problem : named.problems)
        run.tellProblem(problem);
    return finished(run, [&] {
        if (staysInThisProcess(options, named.files)) {
            for (const std::string& file : named.files)
                run.take(asFromOtherProcess(outcomeOfFile(file)));
        } else {
            judgeInProcesses(named.files, options.jobs, command, [&run](const Outcome& outcome) { run.take(outcome); });
        }
    });
}

ExitCode runOnce(const ResultOptions& options, const std::string& command,
                 const std::function<std::vector<Record>()>& judge, const PrintTable& printTable) {
    Run run(options, printTable, 1, true);
    return finished(run, [&] { run.take(asFromOtherProcess(outcomeOf(command, "", judge))); });
}

}  // namespace qx::tool
