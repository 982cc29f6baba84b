#pragma once

// NumPy arrays on their way into the library: checked, never copied unless a copy is the result, and held in their
// place while other threads run.

#include "Errors.h"

#include "QxUtils/StatusCode.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace qx::python {

// How many dimensions an array has; any number where only its elements count.
enum class Shape { Any, Sequence, Image };

// The result of a call that runs without the interpreter's lock.
template <class Call>
auto released(Call call) {
    const py::gil_scoped_release unlocked;
    return call();
}

// Whether an object is a C-contiguous array of such elements in the processor's order.
template <class T>
bool hasElements(const py::object& array) {
    static const auto* const wanted =
        py::detail::array_descriptor_proxy(py::dtype::of<std::remove_const_t<T>>().release().ptr());
    if (!py::isinstance<py::array>(array))
        return false;
    const auto* proxy = py::detail::array_proxy(array.ptr());
    const auto* given = py::detail::array_descriptor_proxy(proxy->descr);
    return given->kind == wanted->kind && given->elsize == wanted->elsize && given->byteorder == wanted->byteorder &&
           (proxy->flags & py::array::c_style) != 0;
}

// Throws what tells why an object is not such an array.
[[noreturn]] void refuseArray(const py::object& array, const char* name, const std::string& types);
void requireShape(const py::array& array, const char* name, Shape shape);
void requireWriteable(const py::array& array, const char* name);
void requireSameShape(const py::array& array, const char* name, const py::array& other, const char* otherName);

// NumPy moves the memory of no array to which a weak reference exists, whatever the caller of resize() asks for.
class Hold {
public:
    explicit Hold(const py::array& array);

private:
    py::object reference_;
};

// The elements of a C-contiguous array; a const T reads, another one writes.
template <class T>
class Array {
public:
    Array(const py::object& array, const char* name, Shape shape)
        : array_(checked(array, name, shape)), hold_(array_), data_(static_cast<T*>(const_cast<void*>(array_.data()))) {
    }

    T* data() const { return data_; }
    int count() const { return static_cast<int>(array_.size()); }
    int width() const { return static_cast<int>(array_.shape(1)); }
    int height() const { return static_cast<int>(array_.shape(0)); }
    const py::array& array() const { return array_; }

private:
    static py::array checked(const py::object& object, const char* name, Shape shape) {
        if (!hasElements<T>(object))
            refuseArray(object, name, py::str(py::dtype::of<std::remove_const_t<T>>()));
        auto array = py::reinterpret_borrow<py::array>(object);
        requireShape(array, name, shape);
        if constexpr (!std::is_const_v<T>)
            requireWriteable(array, name);
        return array;
    }

    py::array array_;
    Hold hold_;
    T* data_;
};

template <class T>
using Image = Array<const T>;

// A new array; its elements have no value yet.
template <class T>
py::array_t<T> newArray(std::vector<py::ssize_t> shape) {
    return py::array_t<T>(std::move(shape));
}

template <class T>
py::array_t<T> newLike(const py::array& other) {
    return newArray<T>(std::vector<py::ssize_t>(other.shape(), other.shape() + other.ndim()));
}

// Values that were measured, as a new array.
template <class T>
py::array_t<T> arrayOf(const std::vector<T>& values) {
    return py::array_t<T>(static_cast<py::ssize_t>(values.size()), values.data());
}

// What call(elements) returns for an array of one of the element types.
template <class First, class... Others, class Call>
py::object withElements(const py::object& array, const char* name, const char* types, Call call) {
    if (hasElements<First>(array))
        return call(Image<First>(array, name, Shape::Any));
    if constexpr (sizeof...(Others) > 0)
        return withElements<Others...>(array, name, types, call);
    else
        refuseArray(array, name, types);
}

// Lets call(pixels) change the caller's array, or a copy of it, without the interpreter's lock; returns what was
// changed. The call's status decides whether there is a result.
template <class T, class Call>
py::object changed(const py::object& array, const char* name, Shape shape, bool inPlace, Call call) {
    if (inPlace) {
        const Array<T> own(array, name, shape);
        require(released([&] { return call(own); }));
        return array;
    }
    const Image<T> source(array, name, shape);
    const Array<T> copy(newLike<T>(source.array()), name, shape);
    require(released([&] {
        std::memcpy(copy.data(), source.data(), sizeof(T) * static_cast<std::size_t>(source.count()));
        return call(copy);
    }));
    return copy.array();
}

}  // namespace qx::python
