#pragma once

#include <pybind11/pybind11.h>

namespace qx::python {

namespace py = pybind11;

// A status that the caller sees as QxError.
struct Failure {
    int status;
    const char* text = nullptr;  // instead of the library's message
};

inline void require(int status) {
    if (status != 0)
        throw Failure{status};
}

// The code 1 of functions that answer by it is not the status 1, whose message tells of something else.
inline void require(int status, const char* answer) {
    if (status == 1)
        throw Failure{status, answer};
    require(status);
}

// The library's text for a status; one of our own for a code that was never assigned.
const char* messageOf(int status) noexcept;

// Adds QxError, and what turns a Failure into one.
void bindErrors(py::module_& module);

}  // namespace qx::python
