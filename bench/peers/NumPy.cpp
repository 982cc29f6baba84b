#include "peers/Peers.h"

#ifdef QX_BENCH_NUMPY
#include <pybind11/embed.h>
#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <stdexcept>
#endif

namespace qx::bench {

#ifdef QX_BENCH_NUMPY

namespace {

namespace py = pybind11;

// The interpreter finds its modules from its program's place, not from the first python3 on the path.
PyConfig* systemConfiguration() {
    static PyConfig config;
    PyConfig_InitIsolatedConfig(&config);
    config.install_signal_handlers = 0;
    const PyStatus status = PyConfig_SetBytesString(&config, &config.program_name, QX_BENCH_PYTHON);
    if (PyStatus_Exception(status))
        throw std::runtime_error("cannot configure Python");
    return &config;
}

void startInterpreter() {
    static const py::scoped_interpreter interpreter(systemConfiguration(), 0, nullptr, false);
}

py::object compileMeasure(const char* source) {
    py::dict names;
    py::exec("import numpy as np", names);
    py::exec(source, names);
    return names["measure"];
}

template <class Pixel, class AnyImage>
py::array view(const AnyImage& image) {
    // With an owner the array refers to the pixels; the method itself keeps them alive.
    const py::capsule owner(image.data(), [](void*) {});
    return py::array_t<Pixel>({image.height, image.width}, image.data(), owner);
}

template <class Pixel, class AnyImage>
Method measureImage(const char* source, const std::shared_ptr<const AnyImage>& image) {
    startInterpreter();
    py::object measure;
    try {
        measure = compileMeasure(source);
    } catch (const py::error_already_set& error) {
        if (error.matches(PyExc_ImportError))
            return {};
        throw;
    }
    return [image, measure, pixels = view<Pixel>(*image)] {
        const py::object result = measure(pixels);
        if (py::isinstance<py::list>(result))
            return result.cast<std::vector<double>>();
        return std::vector<double>{result.cast<double>()};
    };
}

}  // namespace

Method numpy(const char* source, const std::shared_ptr<const Image>& image) {
    return measureImage<WORD>(source, image);
}

Method numpy(const char* source, const std::shared_ptr<const FloatImage>& image) {
    return measureImage<float>(source, image);
}

#else

Method numpy(const char*, const std::shared_ptr<const Image>&) {
    return {};
}

Method numpy(const char*, const std::shared_ptr<const FloatImage>&) {
    return {};
}

#endif

}  // namespace qx::bench
