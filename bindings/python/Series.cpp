#include "Series.h"

#include "Binding.h"

#include "QxUtils/Measures.h"
#include "QxUtils/Quality.h"

#include <algorithm>
#include <mutex>
#include <optional>

namespace qx::python {

namespace {

using py::arg;

constexpr int kFirstSides = 2;
constexpr int kStep = 256;

int seriesLength(int width, int height) {
    return std::max((std::min(width, height) - 12) / kStep + kFirstSides, 0);
}

int sideOf(int square) {
    return square < kFirstSides ? 64 << square : (square - kFirstSides + 1) * kStep;
}

struct SnrSeries {
    py::array_t<float> values;
};

SnrSeries measured(const py::object& image) {
    const Image<WORD> array(image, "image", Shape::Image);
    std::vector<float> snr(static_cast<std::size_t>(seriesLength(array.width(), array.height())));
    require(released([&] { return calcGlobalSNR(array.data(), array.width(), array.height(), snr); }));
    return {arrayOf(snr)};
}

std::vector<SNRSquare> squaresOf(const py::object& image, const std::optional<py::object>& factory) {
    const Image<WORD> array(image, "image", Shape::Image);
    const std::vector<float> given = factory ? seriesOf(*factory) : std::vector<float>();
    std::vector<SNRSquare> squares(static_cast<std::size_t>(seriesLength(array.width(), array.height())));
    int count = 0;
    require(released([&] {
        return measureSNRSquares(array.data(), array.width(), array.height(), factory ? given.data() : nullptr,
                                 static_cast<int>(given.size()), squares.data(), static_cast<int>(squares.size()),
                                 &count);
    }));
    return squares;
}

FactoryDiffIntSNRList readFactorySnr(const py::object& path, int detectorType) {
    const Path file = splitPath(path);
    FactoryDiffIntSNRList list;
    require(
        released([&] { return loadAllSNRFromFactory(file.directory.c_str(), file.name.c_str(), list, detectorType); }));
    return list;
}

void measureFactorySnr(const py::object& path, int detectorType) {
    static std::mutex sameFile;
    const std::string directory = directoryText(path);
    require(released([&] {
        const std::lock_guard lock(sameFile);
        return retrieveAllSNRForQualityCheck(detectorType, directory.c_str());
    }));
}

py::list sidesOf(const SnrSeries& series) {
    py::list sides;
    for (int i = 0; i < series.values.size(); ++i)
        sides.append(sideOf(i));
    return sides;
}

void bindSeriesClass(py::module_& module) {
    py::class_<SnrSeries>(module, "SnrSeries",
                          "Signal-to-noise ratios on nested centred squares, smallest first: `values` of float32, and "
                          "the `sides` of the squares in pixels. numpy.asarray takes it without a copy.")
        .def_readonly("values", &SnrSeries::values)
        .def_property_readonly("sides", sidesOf)
        .def("__len__", [](const SnrSeries& series) { return series.values.size(); })
        .def("__getitem__",
             [](const SnrSeries& series, const py::object& index) { return py::object(series.values[index]); })
        .def("__iter__", [](const SnrSeries& series) { return py::iter(series.values); })
        .def(
            "__array__",
            [](const SnrSeries& series, const py::object& type) -> py::object {
                return type.is_none() ? py::object(series.values) : series.values.attr("astype")(type);
            },
            arg("dtype") = py::none())
        .def("__repr__", [](const SnrSeries& series) {
            return "SnrSeries(" + std::string(py::str(series.values.attr("tolist")())) + ")";
        });
    define(module, "snr_series", "calcGlobalSNR",
           "Measures the SNR series of a uint16 image: SNR = (median - 208) / standard deviation in nested centred "
           "squares, 4 sigma outliers replaced by the median.",
           measured, arg("image"));
}

void bindSquares(py::module_& module) {
    py::class_<SNRSquare>(module, "SnrSquare", "One square of an SNR series beside the factory's.")
        .def_readonly("side", &SNRSquare::side)
        .def_readonly("factor", &SNRSquare::factor)
        .def_readonly("measured", &SNRSquare::measured)
        .def_readonly("factory", &SNRSquare::factory)
        .def_readonly("scaled", &SNRSquare::scaled)
        .def_readonly("expected", &SNRSquare::expected)
        .def_property_readonly("below_scaled", [](const SNRSquare& square) { return square.belowScaled != 0; })
        .def_property_readonly("below_expected", [](const SNRSquare& square) { return square.belowExpected != 0; });
    define(module, "snr_squares", "measureSNRSquares", "The squares of an image's SNR series beside the factory's.",
           squaresOf, arg("image"), arg("factory") = py::none());
}

}  // namespace

std::vector<float> seriesOf(const py::object& values) {
    const auto array = py::array_t<float, py::array::c_style | py::array::forcecast>::ensure(values);
    if (!array || array.ndim() != 1) {
        PyErr_Clear();
        throw py::type_error("factory: an SnrSeries or a sequence of numbers is needed");
    }
    return std::vector<float>(array.data(), array.data() + array.size());
}

void bindSeries(py::module_& module) {
    bindSeriesClass(module);
    bindSquares(module);
    py::class_<FactorySNRRecord>(module, "FactoryRecord", "The SNR series of one factory image.")
        .def_readonly("integration_time_ms", &FactorySNRRecord::integrationTime)
        .def_readonly("mean_gray", &FactorySNRRecord::meanGray)
        .def_property_readonly("snr", [](const FactorySNRRecord& record) { return SnrSeries{arrayOf(record.snr)}; });
    py::class_<FactoryDiffIntSNRList>(module, "FactorySnr", "What a factory SNR file holds.")
        .def_property_readonly(
            "integration_times_ms",
            [](const FactoryDiffIntSNRList& list) { return py::list(py::cast(list.integrationTimes)); })
        .def_property_readonly("records", [](const FactoryDiffIntSNRList& list) { return py::cast(list.records); });
    define(module, "read_factory_snr", "loadAllSNRFromFactory", "Reads a factory SNR file.", readFactorySnr,
           arg("path"), arg("detector_type"));
    define(module, "measure_factory_snr", "retrieveAllSNRForQualityCheck",
           "Measures factory images into the factory SNR file of their folder; one call at a time.", measureFactorySnr,
           arg("directory"), arg("detector_type"));
}

}  // namespace qx::python
