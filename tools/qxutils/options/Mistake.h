#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace qx::tool {

// One line for a command line that cannot be understood: what is wrong with it, what may have been meant, and where
// the help is.
std::string describeMistake(const CLI::App& app, const CLI::ParseError& error);

}  // namespace qx::tool
