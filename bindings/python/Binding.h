#pragma once

// What the sources of this module share: one function each, and how they name and describe theirs.

#include "Errors.h"
#include "Values.h"

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace qx::python {

// A function's text: what it does here, and the contracts of the library's functions behind it, their names separated
// by blanks.
std::string docstring(const char* exported, const char* summary);

// How an argument arrives: what valueOf() takes, as an object, everything else as pybind11 has it.
template <class Argument>
constexpr bool kIsValue =
    (std::is_arithmetic_v<std::decay_t<Argument>> && !std::is_same_v<Argument, bool>) ||
    std::is_same_v<std::decay_t<Argument>, std::string> || std::is_same_v<std::decay_t<Argument>, std::pair<int, int>>;
template <class Argument>
using Arriving = std::conditional_t<kIsValue<Argument>, py::object, Argument>;

template <class Argument>
decltype(auto) taken(const char* name, Arriving<Argument>& given) {
    if constexpr (kIsValue<Argument>)
        return valueOf<std::decay_t<Argument>>(name, given);
    else
        return std::forward<Argument>(given);
}

template <class Function, class Result, class... Arguments, std::size_t... kPlaces>
auto withSentences(Function function, Result (*)(Arguments...), [[maybe_unused]] std::vector<const char*> names,
                   std::index_sequence<kPlaces...>) {
    return [function, names](Arriving<Arguments>... given) -> Result {
        return function(taken<Arguments>(names.at(kPlaces), given)...);
    };
}

// The function, with a sentence that names the argument instead of pybind11's list of signatures.
template <class Function, class Result, class... Arguments>
auto withSentences(Function function, Result (*signature)(Arguments...), std::vector<const char*> names) {
    return withSentences(function, signature, std::move(names), std::index_sequence_for<Arguments...>());
}

template <class Extra>
void addName(std::vector<const char*>& names, const Extra& extra) {
    if constexpr (std::is_base_of_v<py::arg, Extra>)
        names.push_back(extra.name);
}

template <class Function, class... Extra>
void define(py::module_& module, const char* name, const char* exported, const char* summary, Function function,
            const Extra&... extra) {
    std::vector<const char*> names;
    (addName(names, extra), ...);
    constexpr py::detail::function_signature_t<Function>* kSignature = nullptr;
    module.def(name, withSentences(function, kSignature, std::move(names)), docstring(exported, summary).c_str(),
               extra...);
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
