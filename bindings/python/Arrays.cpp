#include "Arrays.h"

namespace qx::python {

namespace {

std::string quoted(const char* name) {
    return std::string(name) + ": ";
}

std::string textOf(py::handle object) {
    return py::str(object);
}

}  // namespace

void refuseArray(const py::object& array, const char* name, const std::string& types) {
    if (!py::isinstance<py::array>(array))
        throw py::type_error(quoted(name) + "a NumPy array of " + types + " is needed, not " +
                             textOf(py::type::of(array).attr("__name__")));
    const auto given = py::reinterpret_borrow<py::array>(array);
    const std::string type = textOf(given.dtype());
    // Contiguous elements of a right type are not refused, so that the type is what is wrong in them.
    if ((given.flags() & py::array::c_style) != 0 || (", " + types).find(" " + type) == std::string::npos)
        throw py::type_error(quoted(name) + "elements of " + types + " are needed, not " + type);
    throw py::value_error(quoted(name) + "a C-contiguous array is needed; numpy.ascontiguousarray makes one");
}

void requireShape(const py::array& array, const char* name, Shape shape) {
    const bool aligned = (array.flags() & py::detail::npy_api::NPY_ARRAY_ALIGNED_) != 0;
    if (!aligned)
        throw py::value_error(quoted(name) + "an aligned array is needed; its copy is one");
    const auto dimensions = shape == Shape::Any ? array.ndim() : shape == Shape::Image ? 2 : 1;
    if (array.ndim() != dimensions)
        throw py::value_error(quoted(name) + std::to_string(dimensions) + " dimensions are needed, not " +
                              std::to_string(array.ndim()));
    if (array.size() > INT_MAX)
        throw Failure{StatusWrongParameter};
    for (py::ssize_t i = 0; i < array.ndim(); ++i)
        if (array.shape(i) > INT_MAX)
            throw Failure{StatusWrongParameter};
}

void requireWriteable(const py::array& array, const char* name) {
    if (!array.writeable())
        throw py::value_error(quoted(name) + "the array is read-only, and in_place changes it");
}

void requireSameShape(const py::array& array, const char* name, const py::array& other, const char* otherName) {
    const auto shapeOf = [](const py::array& of) { return py::tuple(of.attr("shape")); };
    if (!shapeOf(array).equal(shapeOf(other)))
        throw py::value_error(quoted(otherName) + "the shape " + textOf(shapeOf(array)) + " of " + name +
                              " is needed, not " + textOf(shapeOf(other)));
}

Hold::Hold(const py::array& array) {
    // A view's memory is its owner's.
    py::object owner = array;
    for (py::object base = array.base(); base && py::isinstance<py::array>(base);
         base = py::reinterpret_borrow<py::array>(base).base())
        owner = base;
    reference_ = py::reinterpret_steal<py::object>(PyWeakref_NewRef(owner.ptr(), nullptr));
    if (!reference_)
        throw py::error_already_set();
}

}  // namespace qx::python
