#include "Arrays.h"
#include "Binding.h"

#include "QxUtils/Correction.h"

#include <mutex>

namespace qx::python {

namespace {

using py::arg;

// The library keeps the largest gray value for the whole process during a call.
std::mutex clinic;

py::object correctedByReference(const py::object& image, const py::object& reference, int triggerLine, bool inPlace) {
    const Image<WORD> other(reference, "reference", Shape::Image);
    return changed<WORD>(image, "image", Shape::Image, inPlace, [&](const Array<WORD>& array) {
        if (other.height() < array.height())
            return int{StatusWrongParameter};
        const std::lock_guard lock(clinic);
        return correctAedStripeClinic(array.data(), other.data(), array.width(), other.width(), array.height(),
                                      triggerLine);
    });
}

py::object corrected(const py::object& image, int triggerLine, bool inPlace) {
    return changed<WORD>(image, "image", Shape::Image, inPlace, [=](const Array<WORD>& array) {
        return correctAedStripe(array.data(), array.width(), array.height(), 0, 0, triggerLine);
    });
}

void record(const py::object& image) {
    const Image<WORD> array(image, "image", Shape::Image);
    released([&] { recordAedTrainStepInfo(array.data(), array.width(), array.height()); });
}

}  // namespace

void bindStripe(py::module_& module) {
    define(module, "correct_stripe_by_reference", "correctAedStripeClinic",
           "Takes the stripe out of a uint16 image, measured in a reference of as many rows; one call at a time.",
           correctedByReference, arg("image"), arg("reference"), arg("trigger_line"), py::kw_only(),
           arg("in_place") = false);
    define(module, "correct_stripe", "correctAedStripe", "Takes the stripe out of a uint16 image.", corrected,
           arg("image"), arg("trigger_line"), py::kw_only(), arg("in_place") = false);
    define(module, "record_stripe", "recordAedTrainStepInfo", "Appends the training record of a uint16 image.", record,
           arg("image"));
}

}  // namespace qx::python
