#pragma once

// What the sources of this module share: one function each, and how they name and describe theirs.

#include "Errors.h"

#include <string>

namespace qx::python {

// A function's text: what it does here, and the contracts of the library's functions behind it, their names separated
// by blanks.
std::string docstring(const char* exported, const char* summary);

template <class Function, class... Extra>
void define(py::module_& module, const char* name, const char* exported, const char* summary, Function function,
            const Extra&... extra) {
    module.def(name, function, docstring(exported, summary).c_str(), extra...);
}

// A path as the library takes it, in the bytes of the file system.
struct Path {
    std::string directory;  // with its separator; empty for the current one
    std::string name;
};
std::string pathText(const py::object& path);
std::string directoryText(const py::object& path);
Path splitPath(const py::object& path);

void bindFoundation(py::module_& module);
void bindFiles(py::module_& module);
void bindTexts(py::module_& module);
void bindStatistics(py::module_& module);
void bindFilters(py::module_& module);
void bindFits(py::module_& module);
void bindCorrection(py::module_& module);
void bindStripe(py::module_& module);
void bindDefects(py::module_& module);
void bindSeries(py::module_& module);
void bindChecks(py::module_& module);

}  // namespace qx::python
