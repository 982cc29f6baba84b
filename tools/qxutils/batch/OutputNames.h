#pragma once

#include <string>
#include <vector>

// Where the results of several files go.

namespace qx::tool {

// Whether an output is a folder: it is one, or its name ends as one.
bool isOutputFolder(const std::string& output);

// The output of one file: the output itself, or, in an output folder, the file's name with another ending, its own when
// the ending is empty.
std::string outputFor(const std::string& output, const std::string& file, const std::string& ending = "");

// Makes an output folder that is not there yet. Throws a ToolError when the outputs of several files, with this ending,
// would have one name.
void prepareOutputs(const std::string& output, const std::vector<std::string>& files, const std::string& ending = "");

// The outputs of a file that were not there when they were prepared.
std::vector<std::string> newOutputs(const std::string& file);

}  // namespace qx::tool
