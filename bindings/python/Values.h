#pragma once

// Numbers and texts on their way into the library, and the sentences that refuse them.

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <map>
#include <string>
#include <type_traits>
#include <utility>

namespace qx::python {

namespace py = pybind11;

template <class Value>
constexpr const char* wanted() {
    if constexpr (std::is_same_v<Value, std::string>)
        return "a text";
    else if constexpr (std::is_integral_v<Value>)
        return sizeof(Value) > 4 ? "a whole number of 64 bits" : "a whole number of 32 bits";
    else if constexpr (std::is_floating_point_v<Value>)
        return "a number";
    else if constexpr (std::is_same_v<Value, std::pair<int, int>>)
        return "a pair of whole numbers of 32 bits";
    else
        return "a mapping of whole numbers of 32 bits";
}

// An argument of that name as C++ has it. A text ends at its first zero, so one inside is refused.
template <class Value>
Value valueOf(const char* name, const py::object& object) {
    py::object source = object;
    if constexpr (std::is_same_v<Value, std::map<int, int>>)
        source = py::dict(object);
    py::detail::make_caster<Value> caster;
    if (!caster.load(source, true)) {
        const std::string sentence =
            std::string(name) + ": " + wanted<Value>() + " is needed, not " + std::string(py::str(py::repr(object)));
        if (PyLong_Check(object.ptr()) != 0 && !std::is_same_v<Value, std::string>)
            throw py::value_error(sentence);
        throw py::type_error(sentence);
    }
    auto value = py::detail::cast_op<Value>(std::move(caster));
    if constexpr (std::is_same_v<Value, std::string>)
        if (value.find('\0') != value.npos)
            throw py::value_error(std::string(name) + ": a text without a zero byte is needed");
    return value;
}

}  // namespace qx::python
