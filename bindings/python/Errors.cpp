#include "Errors.h"

#include "QxUtils/StatusCode.h"

namespace qx::python {

namespace {

constexpr const char* kErrorText = R"(A status code other than 0.

`status` is the code, the text the library's message for it. Where a function answers by 1, the text says what that
answer means.)";

// Lives as long as the interpreter.
PyObject* errorType = nullptr;

void raise(const Failure& failure) {
    const py::object error = py::handle(errorType)(failure.text != nullptr ? failure.text : messageOf(failure.status));
    error.attr("status") = failure.status;
    PyErr_SetObject(errorType, error.ptr());
}

}  // namespace

const char* messageOf(int status) noexcept {
    const char* text = getStatusMessage(status);
    return text != nullptr ? text : "A status without a message.";
}

void bindErrors(py::module_& module) {
    py::dict members;
    members["status"] = 0;
    errorType = PyErr_NewExceptionWithDoc("qxutils.QxError", kErrorText, PyExc_RuntimeError, members.ptr());
    if (errorType == nullptr)
        throw py::error_already_set();
    module.add_object("QxError", errorType);
    py::register_local_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(thrown);
        } catch (const Failure& failure) {
            raise(failure);
        }
    });
}

}  // namespace qx::python
