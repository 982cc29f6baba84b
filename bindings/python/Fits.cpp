#include "Arrays.h"
#include "Binding.h"

#include "QxUtils/Numerics.h"

#include <algorithm>
#include <limits>

namespace qx::python {

namespace {

using py::arg;

constexpr int kMostPowers = 20;
constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();

// A new array of numbers that nothing has written yet.
Array<float> unwritten(std::vector<py::ssize_t> shape) {
    const auto array = newArray<float>(std::move(shape));
    Array<float> values(array, "values", Shape::Any);
    std::fill_n(values.data(), values.count(), kNoNumber);
    return values;
}

template <class T>
std::vector<T*> rowsOf(T* first, int rows, int columns) {
    std::vector<T*> pointers(static_cast<std::size_t>(rows));
    for (T*& row : pointers) {
        row = first;
        first += columns;
    }
    return pointers;
}

py::array polynomialFit(const py::object& points, int order) {
    const Image<float> array(points, "points", Shape::Image);
    require(order > 6 ? StatusPolynomialOrder : order < 0 || array.width() != 2 ? StatusWrongParameter : 0);
    const Array<float> coefficients(newArray<float>({order + 1}), "coefficients", Shape::Sequence);
    std::fill_n(coefficients.data(), coefficients.count(), 0.0f);
    released([&] {
        const std::vector<const float*> rows = rowsOf(array.data(), array.height(), 2);
        polyFit(coefficients.data(), rows.data(), array.height(), order);
    });
    return coefficients.array();
}

struct SurfaceFit {
    py::array model;
    float quality;
    py::array coefficients;
    py::array residuals;
};

using Fit = int (*)(float*, int, float&, const float*, int, int, float*, float*);

template <Fit fit>
SurfaceFit surfaceFit(const py::object& image, std::vector<py::ssize_t> coefficientShape, int residualCount) {
    const Image<float> array(image, "image", Shape::Image);
    require(array.count() < 1 ? StatusWrongParameter : 0);
    const Array<float> model = unwritten({6});
    const Array<float> coefficients = unwritten(std::move(coefficientShape));
    const Array<float> residuals = unwritten({residualCount});
    float quality = kNoNumber;
    require(released([&] {
        return fit(model.data(), coefficients.count(), quality, array.data(), array.width(), array.height(),
                   coefficients.data(), residuals.data());
    }));
    return {model.array(), quality, coefficients.array(), residuals.array()};
}

std::pair<py::array, py::array> gridFit(const py::object& x, const py::object& y, const py::object& z, int p, int q) {
    const Image<float> xs(x, "x", Shape::Sequence);
    const Image<float> ys(y, "y", Shape::Sequence);
    const Image<float> zs(z, "z", Shape::Image);
    const bool fits =
        zs.height() == xs.count() && zs.width() == ys.count() && zs.count() > 0 && p > 0 && p <= kMostPowers && q > 0;
    require(fits ? 0 : StatusWrongParameter);
    const Array<float> coefficients(newArray<float>({p, 3}), "coefficients", Shape::Image);
    std::fill_n(coefficients.data(), coefficients.count(), 0.0f);
    const Array<float> residuals = unwritten({3});
    released([&] {
        const std::vector<const float*> rows = rowsOf(zs.data(), zs.height(), zs.width());
        FitSurfaceLeastSquares(xs.data(), ys.data(), rows.data(), reinterpret_cast<float(*)[3]>(coefficients.data()),
                               residuals.data(), xs.count(), ys.count(), p, q);
    });
    return {coefficients.array(), residuals.array()};
}

void bindSurfaces(py::module_& module) {
    py::class_<SurfaceFit>(module, "SurfaceFit", "A fitted surface; what could not be fitted is not a number.")
        .def_readonly("model", &SurfaceFit::model)
        .def_readonly("quality", &SurfaceFit::quality)
        .def_readonly("coefficients", &SurfaceFit::coefficients)
        .def_readonly("residuals", &SurfaceFit::residuals);
    define(
        module, "surface_fit", "doSurfaceFit", "A tensor product of quadratics through float32 pixels.",
        [](const py::object& image) {
            return surfaceFit<doSurfaceFit>(image, {3, 3}, 3);
        },
        arg("image"));
    define(
        module, "general_surface_fit", "doSurfaceFitUsingGeneralFormula", "A quadric through float32 pixels.",
        [](const py::object& image) {
            return surfaceFit<doSurfaceFitUsingGeneralFormula>(image, {3, 3}, 1);
        },
        arg("image"));
    define(
        module, "cubic_surface_fit", "doSurfaceFitUsingCubFormula", "A cubic surface through float32 pixels.",
        [](const py::object& image) { return surfaceFit<doSurfaceFitUsingCubFormula>(image, {10}, 1); }, arg("image"));
}

}  // namespace

void bindFits(py::module_& module) {
    define(
        module, "polynomial_fit", "polyFit",
        "A polynomial through float32 points, of two columns x and y; QxError 1086 for an order above 6, 1020 below 0.",
        polynomialFit, arg("points"), arg("order"));
    bindSurfaces(module);
    define(module, "grid_fit", "FitSurfaceLeastSquares",
           "Coefficients (p rows of three) and residuals of z[i, j] at x[i], y[j]; QxError 1020 for sizes that do not "
           "fit and p above 20.",
           gridFit, arg("x"), arg("y"), arg("z"), arg("p"), arg("q"));
}

}  // namespace qx::python
