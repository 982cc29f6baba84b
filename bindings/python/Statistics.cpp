#include "Arrays.h"
#include "Binding.h"

#include "QxUtils/Numerics.h"

#include <limits>

namespace qx::python {

namespace {

using py::arg;

constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();

// The library answers an empty array with a number, which nobody could tell from a result.
void requireElements(int count) {
    require(count < 1 ? StatusNullArgument : 0);
}

int lowerMedian(const WORD* data, int n) {
    return getMedian(data, n);
}
int lowerMedian(const int* data, int n) {
    return getMedian(data, n);
}
float lowerMedian(const float* data, int n) {
    return getMedian(data, n);
}
double lowerMedian(const double* data, int n) {
    return getfloatMedian(data, n);
}

py::object median(const py::object& values) {
    return withElements<WORD, int, float, double>(
        values, "values", "uint16, int32, float32, float64", [](const auto& array) -> py::object {
            requireElements(array.count());
            return py::cast(released([&] { return lowerMedian(array.data(), array.count()); }));
        });
}

float upperMedian(const py::object& values, bool inPlace) {
    if (inPlace) {
        const Array<float> array(values, "values", Shape::Any);
        requireElements(array.count());
        return released([&] { return getFloatMedian(array.data(), array.count()); });
    }
    const Image<float> array(values, "values", Shape::Any);
    requireElements(array.count());
    return released([&] { return getFloatMedian(array.data(), array.count()); });
}

float quickMedian(const py::object& values, bool inPlace) {
    if (inPlace) {
        const Array<float> array(values, "values", Shape::Any);
        requireElements(array.count());
        return released([&] { return getFloatMedianByQuickMethod(array.data(), array.count()); });
    }
    const Image<float> array(values, "values", Shape::Any);
    requireElements(array.count());
    return released([&] {
        std::vector<float> copy(array.data(), array.data() + array.count());
        return getFloatMedianByQuickMethod(copy.data(), array.count());
    });
}

py::tuple histogramMedian(const py::object& values, int bins) {
    const Image<WORD> array(values, "values", Shape::Any);
    require(bins < 1 ? StatusWrongParameter : 0);
    requireElements(array.count());
    const Array<int> counts(newArray<int>({bins}), "counts", Shape::Sequence);
    const int middle = released([&] { return getHisMedian(array.data(), array.count(), counts.data(), bins); });
    return py::make_tuple(middle, counts.array());
}

float floatHistogramMedian(const py::object& values) {
    const Image<float> array(values, "values", Shape::Any);
    requireElements(array.count());
    return released([&] { return getFloatHisMedian(array.data(), array.count(), nullptr, 0); });
}

py::object stdev(const py::object& values) {
    return withElements<WORD, int, float>(
        values, "values", "uint16, int32, float32", [](const auto& array) -> py::object {
            if (array.count() == 0)
                return py::cast(kNoNumber);
            return py::cast(released([&] { return getStdev(array.data(), array.count(), 1); }));
        });
}

std::pair<float, float> meanAndStdev(const py::object& values) {
    const Image<int> array(values, "values", Shape::Any);
    float mean = kNoNumber;
    float deviation = kNoNumber;
    released([&] { getStdevAndMean(array.data(), array.count(), 1, mean, deviation); });
    return {mean, deviation};
}

double mean(const py::object& values) {
    const Image<WORD> array(values, "values", Shape::Any);
    return released([&] { return getMean(array.data(), array.count()); });
}

// Which of its elements; a search returns an index.
py::object minIndex(const py::object& values) {
    return withElements<WORD, int, float>(
        values, "values", "uint16, int32, float32", [](const auto& array) -> py::object {
            requireElements(array.count());
            return py::cast(released([&] { return getMinIndex(array.data(), array.count()); }));
        });
}

py::object maxIndex(const py::object& values) {
    return withElements<int, float>(values, "values", "int32, float32", [](const auto& array) -> py::object {
        requireElements(array.count());
        return py::cast(released([&] { return getMaxIndex(array.data(), array.count()); }));
    });
}

py::object innerExtremeIndex(const py::object& values, bool minimum) {
    return withElements<double, float>(values, "values", "float64, float32", [=](const auto& array) -> py::object {
        return py::cast(released([&] { return getMaxandMinIndex(array.data(), array.count(), minimum); }));
    });
}

template <int (*find)(const float*, int, float)>
int foundIndex(const py::object& values, float threshold) {
    const Image<float> array(values, "values", Shape::Any);
    return released([&] { return find(array.data(), array.count(), threshold); });
}

// The library does not know how many rows there are.
void requireInside(const py::array& image, std::pair<int, int> rows, std::pair<int, int> columns) {
    const auto inside = [](std::pair<int, int> range, py::ssize_t length) {
        return range.first >= 0 && range.first <= range.second && range.second < length;
    };
    require(inside(rows, image.shape(0)) && inside(columns, image.shape(1)) ? 0 : StatusWrongParameter);
}

using Range = std::pair<int, int>;

py::object regionMedian(const py::object& image, Range rows, Range columns) {
    return withElements<WORD, float>(image, "image", "uint16, float32", [&](const auto& array) -> py::object {
        requireShape(array.array(), "image", Shape::Image);
        requireInside(array.array(), rows, columns);
        return py::cast(released([&] {
            return getROIMedian(array.data(), rows.first, rows.second, columns.first, columns.second, array.width());
        }));
    });
}

int regionMean(const py::object& image, Range rows, Range columns) {
    const Image<WORD> array(image, "image", Shape::Image);
    requireInside(array.array(), rows, columns);
    return released([&] {
        return getROIMean(array.data(), rows.first, rows.second, columns.first, columns.second, array.width());
    });
}

py::tuple histogram(const py::object& values, int bins) {
    const Image<WORD> array(values, "values", Shape::Any);
    require(bins < 1 ? StatusWrongParameter : 0);
    const Array<int> counts(newArray<int>({bins}), "counts", Shape::Sequence);
    const Array<int> centers(newArray<int>({bins}), "centers", Shape::Sequence);
    require(
        released([&] { return getHistogramByBins(counts.data(), centers.data(), bins, array.data(), array.count()); }));
    return py::make_tuple(counts.array(), centers.array());
}

py::array columnMedians(const py::object& image) {
    const Image<float> array(image, "image", Shape::Image);
    const Array<float> medians(newArray<float>({array.width()}), "medians", Shape::Sequence);
    require(released([&] { return calcMedianPerColumn(medians.data(), array.data(), array.width(), array.height()); }));
    return medians.array();
}

void bindMedians(py::module_& module) {
    define(module, "median", "getMedian getWordMedian getfloatMedian",
           "The lower middle of uint16, int32, float32 or float64; QxError 1057 without elements.", median,
           arg("values"));
    define(module, "upper_median", "getFloatMedian",
           "The upper middle of float32; in_place leaves the array sorted. QxError 1057 without elements.", upperMedian,
           arg("values"), py::kw_only(), arg("in_place") = false);
    define(module, "quick_median", "getFloatMedianByQuickMethod",
           "The upper middle of float32; in_place reorders the array. QxError 1057 without elements.", quickMedian,
           arg("values"), py::kw_only(), arg("in_place") = false);
    define(module, "histogram_median", "getHisMedian",
           "The median of uint16 below bins, and their counts; QxError 1057 without elements.", histogramMedian,
           arg("values"), arg("bins") = 65536);
    define(module, "float_histogram_median", "getFloatHisMedian",
           "The median of float32 between 0 and 110 in steps of 0.0001; QxError 1057 without elements.",
           floatHistogramMedian, arg("values"));
    define(module, "column_medians", "calcMedianPerColumn", "The lower middle of every column of float32.",
           columnMedians, arg("image"));
}

void bindSearches(py::module_& module) {
    define(module, "min_index", "getMinIndex", "Flat index of the first smallest; QxError 1057 without elements.",
           minIndex, arg("values"));
    define(module, "max_index", "getMaxIndex", "Flat index of the last largest; QxError 1057 without elements.",
           maxIndex, arg("values"));
    define(module, "inner_extreme_index", "getMaxandMinIndex", "Flat index of the smallest or largest inner element.",
           innerExtremeIndex, arg("values"), py::kw_only(), arg("minimum"));
    define(module, "first_at_least", "findidxbigger", "Flat index of the first element from a threshold on.",
           foundIndex<findidxbigger>, arg("values"), arg("threshold"));
    define(module, "last_at_most", "findidxsmaller", "Flat index of the last element up to a threshold.",
           foundIndex<findidxsmaller>, arg("values"), arg("threshold"));
}

}  // namespace

void bindStatistics(py::module_& module) {
    bindMedians(module);
    bindSearches(module);
    define(module, "stdev", "getStdev", "Standard deviation of uint16, int32 or float32.", stdev, arg("values"));
    define(module, "mean_and_stdev", "getStdevAndMean", "Mean and standard deviation of int32.", meanAndStdev,
           arg("values"));
    define(module, "mean", "getMean", "Mean of uint16.", mean, arg("values"));
    define(module, "region_median", "getROIMedian",
           "Median of a region of uint16 or float32; first and last row and column. QxError 1020 outside the image.",
           regionMedian, arg("image"), arg("rows"), arg("columns"));
    define(module, "region_mean", "getROIMean", "Mean of a region of uint16; as region_median.", regionMean,
           arg("image"), arg("rows"), arg("columns"));
    define(module, "histogram", "getHistogramByBins", "Counts and mean values of bins.", histogram, arg("values"),
           arg("bins"));
    define(module, "gauss_value", "getGaussValue", "A normal deviate; the interpreter's lock is kept.", getGaussValue,
           arg("sigma") = 1.0, arg("mean") = 0.0);
}

}  // namespace qx::python
