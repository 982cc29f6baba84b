#include "Arrays.h"
#include "Binding.h"

#include "QxUtils/Correction.h"

#include <mutex>
#include <optional>
#include <shared_mutex>

namespace qx::python {

namespace {

using py::arg;

py::object balanced(const py::object& image, bool inPlace) {
    return changed<float>(image, "image", Shape::Image, inPlace, [](const Array<float>& array) {
        return correctRDwithoutRgain(array.data(), array.width(), array.height());
    });
}

py::object withGains(const py::object& image, const py::object& gains, int afeWidth, bool inPlace) {
    const Image<float> factors(gains, "gains", Shape::Sequence);
    return changed<float>(image, "image", Shape::Image, inPlace, [&](const Array<float>& array) {
        return correctRDbyRgain(array.data(), array.width(), array.height(), factors.data(), factors.count(), afeWidth);
    });
}

py::object positive(const py::object& image, bool inPlace) {
    return changed<float>(image, "image", Shape::Image, inPlace, [](const Array<float>& array) {
        return correctAbnormalPixelFromRD(array.data(), array.width(), array.height());
    });
}

int boundaryCount(int width, int afeWidth) {
    const int count = afeWidth > 0 ? width / afeWidth - 1 : 0;
    require(count < 1 ? StatusWrongParameter : 0);
    return count;
}

py::array ratios(const py::object& image, int afeWidth) {
    const Image<float> array(image, "image", Shape::Image);
    const int count = boundaryCount(array.width(), afeWidth);
    const Array<float> ratio(newArray<float>({array.height(), count}), "ratios", Shape::Image);
    require(released([&] {
        return calcNeighbourAFERatio(ratio.data(), count, array.data(), array.width(), array.height(), afeWidth);
    }));
    return ratio.array();
}

py::object repaired(const py::object& image, int afeWidth, bool inPlace) {
    return changed<float>(image, "image", Shape::Image, inPlace, [=](const Array<float>& array) {
        overwriteBadLineAroundAFEEdge(array.data(), array.width(), array.height(), afeWidth);
        return 0;
    });
}

py::array gainsOf(const py::object& medianRatios, int width, int afeWidth) {
    const Image<float> array(medianRatios, "median_ratios", Shape::Sequence);
    const Array<float> gains(newLike<float>(array.array()), "gains", Shape::Sequence);
    require(released([&] { return calcRgain(gains.data(), array.data(), array.count(), width, afeWidth); }));
    return gains.array();
}

py::array difference(const py::object& a, const py::object& b) {
    const Image<WORD> first(a, "a", Shape::Any);
    const Image<WORD> second(b, "b", Shape::Any);
    requireSameShape(first.array(), "a", second.array(), "b");
    const Array<float> out(newLike<float>(first.array()), "out", Shape::Any);
    released([&] { subtractImage(out.data(), first.data(), second.data(), first.count()); });
    return out.array();
}

py::array cropped(const py::object& image, int border) {
    const Image<float> array(image, "image", Shape::Image);
    require(border < 0 ? StatusWrongParameter : 0);
    const auto left = [border](int side) { return std::max<std::int64_t>(side - std::int64_t{2} * border, 0); };
    const bool any = left(array.width()) > 0 && left(array.height()) > 0;
    const Array<float> out(newArray<float>({any ? left(array.height()) : 0, any ? left(array.width()) : 0}), "out",
                           Shape::Image);
    require(released([&] { return cutBinningImage(out.data(), array.data(), array.width(), array.height(), border); }));
    return out.array();
}

constexpr int kBlockSide = 32;

py::array blockMedians(const py::object& image) {
    const Image<float> array(image, "image", Shape::Image);
    const Array<float> out(newArray<float>({array.height() / kBlockSide, array.width() / kBlockSide}), "out",
                           Shape::Image);
    require(released([&] { return doBinningSample(out.data(), array.data(), array.width(), array.height()); }));
    return out.array();
}

void requirePhases(int xPhase, int yPhase) {
    require((xPhase | yPhase) >> 1 != 0 ? StatusWrongParameter : 0);
}

py::array extracted(const py::object& image, int xPhase, int yPhase) {
    const Image<float> array(image, "image", Shape::Image);
    requirePhases(xPhase, yPhase);
    const Array<float> quarter(newArray<float>({array.height() / 2, array.width() / 2}), "quarter", Shape::Image);
    released([&] { operateSubImage(quarter.data(), array.data(), array.width(), array.height(), xPhase, yPhase, 1); });
    return quarter.array();
}

py::object inserted(const py::object& image, const py::object& quarter, int xPhase, int yPhase, bool inPlace) {
    const Image<float> part(quarter, "quarter", Shape::Image);
    requirePhases(xPhase, yPhase);
    return changed<float>(image, "image", Shape::Image, inPlace, [&](const Array<float>& array) {
        if (part.height() != array.height() / 2 || part.width() != array.width() / 2)
            return int{StatusWrongParameter};
        operateSubImage(array.data(), part.data(), array.width(), array.height(), xPhase, yPhase, 0);
        return 0;
    });
}

void bindAfe(py::module_& module) {
    define(module, "balance_afe", "correctRDwithoutRgain", "Balances the AFE blocks of float32.", balanced,
           arg("image"), py::kw_only(), arg("in_place") = false);
    define(module, "apply_afe_gains", "correctRDbyRgain", "Multiplies the AFE blocks of float32 by their gains.",
           withGains, arg("image"), arg("gains"), arg("afe_width"), py::kw_only(), arg("in_place") = false);
    define(module, "replace_nonpositive", "correctAbnormalPixelFromRD", "Makes pixels at or below 0 positive, float32.",
           positive, arg("image"), py::kw_only(), arg("in_place") = false);
    define(module, "afe_ratios", "calcNeighbourAFERatio", "Ratios at the boundaries of the AFE blocks, a row each.",
           ratios, arg("image"), arg("afe_width"));
    define(module, "repair_afe_edges", "overwriteBadLineAroundAFEEdge", "Replaces bad columns at AFE edges of float32.",
           repaired, arg("image"), arg("afe_width"), py::kw_only(), arg("in_place") = false);
    define(module, "afe_gains", "calcRgain", "Gains of the AFE blocks from the boundaries' median ratios.", gainsOf,
           arg("median_ratios"), arg("width"), arg("afe_width"));
}

// The library lets no two calls write the same files, nor a correction read them meanwhile.
std::shared_mutex calibrationFiles;

void ndtCalibrate(const std::optional<py::object>& bright, const py::object& dark) {
    const Image<std::uint32_t> darkImage(dark, "dark", Shape::Any);
    if (!bright) {
        require(released([&] {
            const std::lock_guard lock(calibrationFiles);
            return executeNDTCAL(nullptr, darkImage.data(), darkImage.count());
        }));
        return;
    }
    const Image<std::uint32_t> brightImage(*bright, "bright", Shape::Any);
    requireSameShape(darkImage.array(), "dark", brightImage.array(), "bright");
    require(released([&] {
        const std::lock_guard lock(calibrationFiles);
        return executeNDTCAL(brightImage.data(), darkImage.data(), darkImage.count());
    }));
}

py::object ndtCorrected(const py::object& image, const std::optional<py::object>& dark, bool inPlace) {
    std::optional<Image<std::uint32_t>> darkImage;
    if (dark) {
        darkImage.emplace(*dark, "dark", Shape::Any);
        if (!hasElements<std::uint32_t>(image))
            refuseArray(image, "image", "uint32");
        requireSameShape(py::reinterpret_borrow<py::array>(image), "image", darkImage->array(), "dark");
    }
    return changed<std::uint32_t>(image, "image", Shape::Any, inPlace, [&](const Array<std::uint32_t>& array) {
        const std::shared_lock lock(calibrationFiles);
        return correctNDTImage(array.data(), darkImage ? darkImage->data() : nullptr, array.count());
    });
}

}  // namespace

void bindCorrection(py::module_& module) {
    bindAfe(module);
    define(module, "subtract", "subtractImage", "a - b of uint16 as float32.", difference, arg("a"), arg("b"));
    define(module, "crop", "cutBinningImage", "A float32 image without its border.", cropped, arg("image"),
           arg("border"));
    define(module, "block_medians", "doBinningSample", "Medians of blocks of 32 x 32 float32 pixels.", blockMedians,
           arg("image"));
    define(module, "extract_phase", "operateSubImage", "One of four quarter images of float32, as a new one.",
           extracted, arg("image"), arg("x_phase"), arg("y_phase"));
    define(module, "insert_phase", "operateSubImage", "Puts a quarter image of float32 back.", inserted, arg("image"),
           arg("quarter"), arg("x_phase"), arg("y_phase"), py::kw_only(), arg("in_place") = false);
    define(module, "ndt_calibrate", "executeNDTCAL",
           "Makes the NDT mode's calibration files from uint32 images; one call at a time.", ndtCalibrate,
           arg("bright").none(true), arg("dark"));
    define(
        module, "ndt_correct", "correctNDTImage",
        "Corrects a uint32 image of the NDT mode; one call at a time while the configuration asks for Corrected.raw.",
        ndtCorrected, arg("image"), arg("dark") = py::none(), py::kw_only(), arg("in_place") = false);
}

}  // namespace qx::python
