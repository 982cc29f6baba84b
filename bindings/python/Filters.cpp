#include "Arrays.h"
#include "Binding.h"

#include "QxUtils/Numerics.h"

#include <algorithm>

namespace qx::python {

namespace {

using py::arg;

py::object medianFiltered(const py::object& values, int radius, bool inPlace) {
    return changed<float>(values, "values", Shape::Sequence, inPlace, [=](const Array<float>& array) {
        medianFilter(array.data(), array.count(), radius);
        return 0;
    });
}

py::object columnFiltered(const py::object& image, bool inPlace) {
    return changed<WORD>(image, "image", Shape::Image, inPlace, [](const Array<WORD>& array) {
        return filterImg(array.data(), array.width(), array.height());
    });
}

py::object equalized(const py::object& image, bool inPlace) {
    return changed<WORD>(image, "image", Shape::Any, inPlace, [](const Array<WORD>& array) {
        hisEqualization(array.data(), array.count());
        return 0;
    });
}

py::array medianRatio(const py::object& image) {
    const Image<WORD> array(image, "image", Shape::Image);
    const Array<float> ratio(newLike<float>(array.array()), "ratio", Shape::Image);
    require(released([&] {
        std::fill_n(ratio.data(), ratio.count(), 0.0f);
        return getMedianImage(ratio.data(), array.data(), array.width(), array.height());
    }));
    return ratio.array();
}

py::array savgolFiltered(const py::object& values, int window, int order) {
    const Image<float> array(values, "values", Shape::Sequence);
    const Array<float> out(newLike<float>(array.array()), "out", Shape::Sequence);
    require(released([&] { return filterUsingSGolay(out.data(), array.data(), array.count(), order, window); }),
            "No fit for this length, window and order.");
    return out.array();
}

py::array resampled(const py::object& image, std::pair<int, int> shape) {
    const Image<WORD> array(image, "image", Shape::Image);
    require(shape.first < 1 || shape.second < 1 || array.count() < 1 ? StatusWrongParameter : 0);
    const Array<WORD> out(newArray<WORD>({shape.first, shape.second}), "out", Shape::Image);
    released([&] {
        std::fill_n(out.data(), out.count(), WORD{0});
        // The tables of rows in the declaration are flat images.
        auto* pixels = const_cast<WORD*>(array.data());
        interpImg2D(reinterpret_cast<WORD**>(out.data()), shape.first, shape.second, reinterpret_cast<WORD**>(pixels),
                    array.height(), array.width());
    });
    return out.array();
}

std::pair<int, int> standardSize(int index, int type) {
    int first = 0;
    int second = 0;
    require(getIntepolationSize(first, second, index, type));
    return {first, second};
}

}  // namespace

void bindFilters(py::module_& module) {
    define(module, "median_filter", "medianFilter", "Running median of float32.", medianFiltered, arg("values"),
           arg("radius"), py::kw_only(), arg("in_place") = false);
    define(module, "column_median_filter", "filterImg", "Median of five pixels above each other, of uint16.",
           columnFiltered, arg("image"), py::kw_only(), arg("in_place") = false);
    define(module, "equalize", "hisEqualization", "Histogram equalisation of uint16.", equalized, arg("image"),
           py::kw_only(), arg("in_place") = false);
    define(module, "median_ratio", "getMedianImage",
           "The neighbourhood's median over the pixel, as float32; 0 within 5 of a border.", medianRatio, arg("image"));
    define(module, "savgol_filter", "filterUsingSGolay",
           "Savitzky-Golay smoothing of float32; QxError 1 without a fit.", savgolFiltered, arg("values"),
           arg("window"), arg("order") = 2);
    define(module, "resample", "interpImg2D",
           "uint16 resampled to (rows, columns) by cubic splines; zeros when memory is short. QxError 1020 for sizes "
           "below 1.",
           resampled, arg("image"), arg("shape"));
    define(module, "standard_size", "getIntepolationSize", "The two numbers of a standard output size.", standardSize,
           arg("index"), arg("type") = 0);
}

}  // namespace qx::python
