#pragma once

#include "common/ToolError.h"
#include "results/Record.h"

#include <functional>
#include <string>
#include <vector>

// What came of one file, as it goes from one process to another.

namespace qx::tool {

struct Outcome {
    std::vector<Record> records;
    ExitCode exitCode = ExitCode::Passed;
    std::string problem{};  // why there is no verdict, in one line; empty otherwise
};

// What a judgement yields, whatever it throws: without a verdict one record says so.
Outcome outcomeOf(const std::string& command, const std::string& file,
                  const std::function<std::vector<Record>()>& judge);

// Of what was not even judged.
Outcome failedOutcome(const std::string& command, const std::string& file, const std::string& problem,
                      ExitCode exitCode = ExitCode::Failed);

// One line, and back.
std::string toLine(const Outcome& outcome);
Outcome outcomeFromLine(const std::string& line);

// The one that a script has to know about: usage, failed, not passed, passed.
ExitCode worse(ExitCode first, ExitCode second);

}  // namespace qx::tool
