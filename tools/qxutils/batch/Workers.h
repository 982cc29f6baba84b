#pragma once

#include "batch/Outcome.h"

#include <functional>
#include <string>
#include <vector>

// Judging in other processes of this program.

namespace qx::tool {

// Lets `jobs` processes judge the files and hands each outcome over in the files' order, as soon as those before it are
// there. A process that dies is replaced and its file judged once more; the second time the outcome says so.
void judgeInProcesses(const std::vector<std::string>& files, int jobs, const std::string& command,
                      const std::function<void(const Outcome&)>& handOver);

// What such a process does: judges the files that its standard input names until that ends.
void serveParent(const std::function<Outcome(const std::string& file)>& judge);

}  // namespace qx::tool
