#include "Binding.h"
#include "Series.h"

#include "QxUtils/Measures.h"
#include "QxUtils/Quality.h"

#include <algorithm>
#include <array>

namespace qx::python {

namespace {

using py::arg;

// A check's answer. Grades are answers too, of which the last one is not passed.
struct Verdict {
    int status;
    bool passed;
    std::vector<CheckMeasure> measures;
    const char* message = messageOf(status);
};

constexpr std::array<const char*, 4> kComparisons = {"<", "<=", ">", ">="};

bool isOneOf(std::initializer_list<int> codes, int status) {
    return std::find(codes.begin(), codes.end(), status) != codes.end();
}

// Judges, and measures what was judged when that is wanted. Codes that are no verdicts are failures.
template <class Check, class Measure>
Verdict verdictOf(std::initializer_list<int> refusals, bool measured, Check check, Measure measure) {
    CheckMeasures taken{};
    int status = 0;
    released([&] {
        status = check();
        if (measured && (status == 0 || isOneOf(refusals, status)) && measure(&taken) != 0)
            taken.count = 0;
    });
    require(isOneOf(refusals, status) ? 0 : status);
    return {status, status == 0, std::vector<CheckMeasure>(taken.measures, taken.measures + taken.count)};
}

// The code 1 is an answer in some checks, not the status 1.
Verdict answered(Verdict verdict, const char* answer) {
    if (verdict.status == 1)
        verdict.message = answer;
    return verdict;
}

template <int (*check)(const WORD*, int, int), int (*measure)(const WORD*, int, int, CheckMeasures*), int kRefusal>
Verdict oneImage(const py::object& image, bool measured) {
    const Image<WORD> array(image, "image", Shape::Image);
    return verdictOf(
        {kRefusal}, measured, [&] { return check(array.data(), array.width(), array.height()); },
        [&](CheckMeasures* taken) { return measure(array.data(), array.width(), array.height(), taken); });
}

template <int (*check)(const float*, int, int), int (*measure)(const float*, int, int, CheckMeasures*), int kRefusal>
Verdict floatImage(const py::object& image, bool measured) {
    const Image<float> array(image, "image", Shape::Image);
    return verdictOf(
        {kRefusal}, measured, [&] { return check(array.data(), array.width(), array.height()); },
        [&](CheckMeasures* taken) { return measure(array.data(), array.width(), array.height(), taken); });
}

using PairCheck = int (*)(const WORD*, const WORD*, int, int);
using PairMeasure = int (*)(const WORD*, const WORD*, int, int, CheckMeasures*);

template <PairCheck check, PairMeasure measure>
Verdict twoImages(const py::object& image, const py::object& dark, bool measured) {
    const Image<WORD> exposed(image, "image", Shape::Image);
    const Image<WORD> unexposed(dark, "dark", Shape::Image);
    requireSameShape(exposed.array(), "image", unexposed.array(), "dark");
    return verdictOf(
        {StatusPanelNotExposed, StatusUniformityUnqualified, StatusTubeMisaligned}, measured,
        [&] { return check(exposed.data(), unexposed.data(), exposed.width(), exposed.height()); },
        [&](CheckMeasures* taken) {
            return measure(exposed.data(), unexposed.data(), exposed.width(), exposed.height(), taken);
        });
}

Verdict globalUniformity(const py::object& image, float limit, bool measured) {
    const Image<WORD> array(image, "image", Shape::Image);
    return verdictOf(
        {StatusUniformityUnqualified}, measured,
        [&] { return checkGlobalUniform(array.data(), array.width(), array.height(), limit); },
        [&](CheckMeasures* taken) {
            return measureGlobalUniform(array.data(), array.width(), array.height(), limit, taken);
        });
}

Verdict rowNoise(std::pair<int, int> shape, bool measured) {
    return verdictOf(
        {StatusRowNoiseUnqualified}, measured, [=] { return analysisRcn(shape.second, shape.first); },
        [=](CheckMeasures* taken) { return measureRcn(shape.second, shape.first, taken); });
}

Verdict snr(const py::object& image, const py::object& factory, bool measured) {
    const Image<WORD> array(image, "image", Shape::Image);
    const std::vector<float> series = seriesOf(factory);
    const int count = static_cast<int>(series.size());
    return verdictOf(
        {StatusSnrLow}, measured, [&] { return checkGlobalSNR(array.data(), array.width(), array.height(), series); },
        [&](CheckMeasures* taken) {
            return measureGlobalSNR(array.data(), array.width(), array.height(), series.data(), count, taken);
        });
}

Verdict grade(const py::object& image, const py::object& factory, bool measured) {
    const Image<WORD> array(image, "image", Shape::Image);
    const std::vector<float> series = seriesOf(factory);
    const int count = static_cast<int>(series.size());
    SurfaceFitResult result{};
    Verdict verdict = verdictOf(
        {}, measured, [&] { return evaluateSNRResult(array.data(), array.width(), array.height(), series, result); },
        [&](CheckMeasures* taken) {
            return measureSNRResult(array.data(), array.width(), array.height(), series.data(), count, taken);
        });
    verdict.status = result.evaluation;
    verdict.passed = result.evaluation != StatusCalibrationPoor;
    verdict.message = messageOf(verdict.status);
    return verdict;
}

Verdict gainGroup(const std::vector<py::object>& paths, bool measured) {
    std::vector<std::string> texts(paths.size());
    std::transform(paths.begin(), paths.end(), texts.begin(), pathText);
    std::vector<const char*> names(texts.size());
    std::transform(texts.begin(), texts.end(), names.begin(), [](const std::string& text) { return text.c_str(); });
    const int count = static_cast<int>(names.size());
    return verdictOf(
        {StatusLinearityUnqualified}, measured, [&] { return checkGainImgGroup(names.data(), count); },
        [&](CheckMeasures* taken) { return measureGainImgGroup(names.data(), count, taken); });
}

Verdict darkTime(const std::string& times, int timeMs, bool measured) {
    return answered(verdictOf(
                        {1}, measured, [&] { return CheckDarkTimeRepeat(times.c_str(), timeMs); },
                        [&](CheckMeasures* taken) { return measureDarkTimeRepeat(times.c_str(), timeMs, taken); }),
                    "Not in the list.");
}

Verdict offsetImage(const py::object& image, bool measured) {
    return answered(floatImage<checkOffsetImageQuality, measureOffsetImageQuality, 1>(image, measured),
                    "Structured patches.");
}

py::array shadowBlocks(const py::object& image, const py::object& dark) {
    const Image<WORD> exposed(image, "image", Shape::Image);
    const Image<WORD> unexposed(dark, "dark", Shape::Image);
    requireSameShape(exposed.array(), "image", unexposed.array(), "dark");
    constexpr int kBlockSide = 32;
    const Array<unsigned char> blocks(
        newArray<unsigned char>({exposed.height() / kBlockSide, exposed.width() / kBlockSide}), "blocks", Shape::Image);
    require(released([&] {
        return locateShadow(exposed.data(), unexposed.data(), exposed.width(), exposed.height(), blocks.data(),
                            blocks.count());
    }));
    return blocks.array();
}

std::string textOf(const CheckMeasure& measure) {
    const auto number = [](double value) { return std::string(py::str(py::float_(value))); };
    const std::string unit = measure.unit[0] != '\0' ? std::string(" ") + measure.unit : std::string();
    return std::string(measure.name) + ": " + number(measure.value) + " " + kComparisons.at(measure.comparison) + " " +
           number(measure.limit) + unit + (measure.met != 0 ? "" : ", not met");
}

std::string textOf(const Verdict& verdict) {
    return "<Verdict " + std::to_string(verdict.status) + (verdict.passed ? ", passed: " : ", not passed: ") +
           verdict.message + ">";
}

void bindVerdict(py::module_& module) {
    py::class_<CheckMeasure>(
        module, "Measure",
        "One number of a check beside its limit. Those of the same `requirement` are alternatives; "
        "`comparison` is one of < <= > >=.")
        .def_property_readonly("name", [](const CheckMeasure& measure) { return std::string(measure.name); })
        .def_readonly("value", &CheckMeasure::value)
        .def_readonly("limit", &CheckMeasure::limit)
        .def_property_readonly("unit", [](const CheckMeasure& measure) { return std::string(measure.unit); })
        .def_property_readonly("comparison",
                               [](const CheckMeasure& measure) { return kComparisons.at(measure.comparison); })
        .def_readonly("requirement", &CheckMeasure::requirement)
        .def_property_readonly("met", [](const CheckMeasure& measure) { return measure.met != 0; })
        .def("__repr__", [](const CheckMeasure& measure) { return "<Measure " + textOf(measure) + ">"; });
    py::class_<Verdict>(module, "Verdict",
                        "A check's answer: `status` and its `message`, whether it is `passed`, and the `measures` that "
                        "decided, in the order in which they were looked at. It counts as true when passed.")
        .def_readonly("status", &Verdict::status)
        .def_readonly("passed", &Verdict::passed)
        .def_readonly("message", &Verdict::message)
        .def_readonly("measures", &Verdict::measures)
        .def("__bool__", [](const Verdict& verdict) { return verdict.passed; })
        .def("__repr__", [](const Verdict& verdict) { return textOf(verdict); });
}

// A check's measures cost as much as the check; measure=False leaves them out.
template <class Check, class... Arguments>
void defineCheck(py::module_& module, const char* name, const char* exported, const char* summary, Check check,
                 const Arguments&... arguments) {
    define(module, name, exported, summary, check, arguments..., py::kw_only(), arg("measure") = true);
}

void bindExposed(py::module_& module) {
    defineCheck(module, "check_preview", "checkPreImg measurePreImg", "Judges a preview image.",
                twoImages<checkPreImg, measurePreImg>, arg("image"), arg("dark"));
    defineCheck(module, "check_first_image", "checkFirstImg measureFirstImg", "Judges the first exposed image.",
                twoImages<checkFirstImg, measureFirstImg>, arg("image"), arg("dark"));
    defineCheck(module, "check_uniformity", "getUniform measureUniform", "Judges the uniformity by five squares.",
                oneImage<getUniform, measureUniform, StatusUniformityUnqualified>, arg("image"));
    defineCheck(module, "check_global_uniformity", "checkGlobalUniform measureGlobalUniform",
                "Judges the uniformity by blocks.", globalUniformity, arg("image"), arg("limit"));
    defineCheck(module, "check_strips", "analysisStrip measureStrip", "Judges steps between strips.",
                oneImage<analysisStrip, measureStrip, StatusStripMeansUnqualified>, arg("image"));
    defineCheck(module, "check_gain_group", "checkGainImgGroup measureGainImgGroup", "Judges a group of image files.",
                gainGroup, arg("paths"));
    define(module, "shadow_blocks", "locateShadow", "The blocks of the dark region that check_first_image judges.",
           shadowBlocks, arg("image"), arg("dark"));
}

void bindDark(py::module_& module) {
    defineCheck(module, "check_row_noise", "analysisRcn measureRcn",
                "Judges the stored average dark image of a shape (rows first).", rowNoise, arg("shape"));
    defineCheck(module, "check_dark_level", "darkImgGrayAnalysis measureDarkGray", "Judges a dark image's level.",
                oneImage<darkImgGrayAnalysis, measureDarkGray, StatusDarkLevelUnqualified>, arg("image"));
    defineCheck(module, "check_offset_image", "checkOffsetImageQuality measureOffsetImageQuality",
                "Judges patches in a dark image of float32.", offsetImage, arg("image"));
    defineCheck(module, "check_false_trigger", "checkFalseTriggAEDImage measureFalseTriggAEDImage",
                "Judges whether a float32 image was exposed.",
                floatImage<checkFalseTriggAEDImage, measureFalseTriggAEDImage, StatusFalseTrigger>, arg("image"));
    defineCheck(module, "check_dark_time", "CheckDarkTimeRepeat measureDarkTimeRepeat",
                "Whether a list such as \"500;1000\" holds an exposure time.", darkTime, arg("times"), arg("time_ms"));
}

}  // namespace

void bindChecks(py::module_& module) {
    bindVerdict(module);
    bindExposed(module);
    bindDark(module);
    defineCheck(module, "check_snr", "checkGlobalSNR measureGlobalSNR", "Judges an image's SNR by the factory's.", snr,
                arg("image"), arg("factory"));
    defineCheck(module, "grade_snr", "evaluateSNRResult measureSNRResult",
                "Grades a one-shot calibration: the status is 1090, 1091 or, not passed, 1092.", grade, arg("image"),
                arg("factory"));
}

}  // namespace qx::python
