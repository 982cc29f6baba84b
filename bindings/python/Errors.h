#pragma once

#include <pybind11/pybind11.h>

namespace qx::python {

namespace py = pybind11;

// A status that the caller sees as QxError.
struct Failure {
    int status;
};

inline void require(int status) {
    if (status != 0)
        throw Failure{status};
}

// The library's text for a status; one of our own for a code that was never assigned.
const char* messageOf(int status) noexcept;

// Adds QxError, and what turns a Failure into one.
void bindErrors(py::module_& module);

}  // namespace qx::python
