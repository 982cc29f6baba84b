#include "Binding.h"

#include "Contracts.h"

#include <sstream>
#include <string_view>

namespace qx::python {

namespace {

const char* contractOf(std::string_view name) {
    for (const Contract& contract : kContracts)
        if (name == contract.name)
            return contract.text;
    throw py::value_error("no contract of " + std::string(name));
}

std::string fileSystemBytes(const py::object& path) {
    PyObject* bytes = nullptr;
    if (PyUnicode_FSConverter(path.ptr(), &bytes) == 0)
        throw py::error_already_set();
    return py::reinterpret_steal<py::bytes>(bytes);
}

}  // namespace

std::string docstring(const char* exported, const char* summary) {
    std::string text = summary;
    std::string_view last;
    std::istringstream names(exported);
    for (std::string name; names >> name;) {
        const std::string_view contract = contractOf(name);
        text += (contract == last ? "\n    " : "\n\n    ") + name;
        if (contract != last)
            text += "\n" + std::string(contract);
        last = contract;
    }
    return text;
}

std::string pathText(const py::object& path) {
    return fileSystemBytes(path);
}

std::string directoryText(const py::object& path) {
    std::string text = fileSystemBytes(path);
    if (!text.empty() && text.back() != '/')
        text += '/';
    return text;
}

Path splitPath(const py::object& path) {
    const std::string text = fileSystemBytes(path);
    const std::size_t name = text.rfind('/') + 1;
    return {text.substr(0, name), text.substr(name)};
}

}  // namespace qx::python

PYBIND11_MODULE(_qxutils, module) {
    using namespace qx::python;
    py::options options;
    options.disable_function_signatures();
    module.attr("__version__") = QXUTILS_VERSION;
    bindErrors(module);
    bindFoundation(module);
    bindFiles(module);
    bindTexts(module);
    bindStatistics(module);
    bindFilters(module);
    bindFits(module);
    bindCorrection(module);
    bindStripe(module);
    bindDefects(module);
    bindSeries(module);
    bindChecks(module);
}
