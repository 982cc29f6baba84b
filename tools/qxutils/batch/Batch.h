#pragma once

#include "common/ToolError.h"
#include "results/ResultWriter.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

// One command on many files: each is judged on its own, one that cannot be is told and the rest go on.

namespace qx::tool {

// How the results of a command that measures are told.
struct ResultOptions {
    Format format = Format::Table;
    std::optional<std::string> store{};

    // Whether what a record says of its file's content is told anywhere: tables tell the name alone.
    bool tellContent() const { return format != Format::Table || store.has_value(); }
};

// What a command that takes many files is told.
struct BatchOptions {
    std::vector<std::string> names{};
    bool recursive = false;
    bool quiet = false;
    int jobs = 1;
    std::vector<std::string> endings = {".raw"};  // of the files that a folder stands for
    std::vector<std::string> shared{};            // files that every judgement reads
    ResultOptions results{};

    // The same with one more shared file, if there is one.
    BatchOptions reading(const std::optional<std::string>& file) const;
};

// The files that options.names stand for; throws a ToolError where an argument names none.
std::vector<std::string> filesNamedBy(const BatchOptions& options);

// What is found out about one file; throws a ToolError when nothing can be.
using JudgeFile = std::function<std::vector<Record>(const std::string& file)>;

// What has to be done before the first of these files is judged; may throw a ToolError.
using PrepareFiles = std::function<void(const std::vector<std::string>& files)>;

// Judges the named files in their order, in options.jobs processes, and writes the results. Returns the worst of all:
// a file without a verdict, a verdict that is not passed, all passed.
ExitCode runBatch(const BatchOptions& options, const std::string& command, const JudgeFile& judge,
                  const PrintTable& printTable, const PrepareFiles& prepare = {});

// The same for one judgement of several files or of none.
ExitCode runOnce(const ResultOptions& options, const std::string& command,
                 const std::function<std::vector<Record>()>& judge, const PrintTable& printTable);

}  // namespace qx::tool
