// The virtual detector behind the kit's substitute, apart from the rest: this module needs that substitute, the others
// work with any kit.

#include "Values.h"

#include "VirtualDetector.h"

#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace {

namespace py = pybind11;
using qxkit::VirtualDetector;
using qxkit::virtualDetector;

using Change = std::function<void(VirtualDetector&)>;

// What makes a change of the detector of a setting's value. Runs code of Python, so nobody calls it under the
// detector's lock.
using Converter = std::function<Change(const py::object&)>;

std::map<std::string, Converter>& converters() {
    static std::map<std::string, Converter> all;
    return all;
}

// The interpreter's lock is given away before the detector's is taken: who waits for one never holds the other.
template <class Call>
auto locked(Call call) {
    const py::gil_scoped_release unlocked;
    const qxkit::DetectorLock lock;
    return call();
}

// A detector with defaults and folders of its own for the time of a with block; what was before comes back. The
// detector's lock guards it, too.
class Session {
public:
    Session(std::optional<std::filesystem::path> folder, py::dict settings)
        : folder_(std::move(folder)), settings_(std::move(settings)) {}

    void enter() {
        const std::vector<Change> changes = convertedSettings();
        locked([&] {
            if (before_)
                throw py::value_error("the detector is in use by its with block");
            root_ = folder_ ? *folder_ : temporaryFolder();
            before_ = virtualDetector();
            qxkit::resetVirtualDetector();
            const std::string error = qxkit::setDirectories(root_);
            if (!error.empty()) {
                restore();
                throw py::value_error(error);
            }
            for (const Change& change : changes)
                change(virtualDetector());
        });
    }

    void leave() {
        locked([&] {
            requireEntered();
            restore();
        });
    }

    void load(const std::filesystem::path& file) const {
        const std::string error = locked([&] {
            requireEntered();
            return qxkit::loadVirtualDetector(file);
        });
        if (!error.empty())
            throw py::value_error(error);
    }

    // What call(detector) returns.
    template <class Call>
    auto with(Call call) const {
        return locked([&] {
            requireEntered();
            return call(virtualDetector());
        });
    }

    std::string folder() const {
        return with([this](const VirtualDetector&) { return root_.string(); });
    }

private:
    void requireEntered() const {
        if (!before_)
            throw std::runtime_error("the detector can be used inside its with block only");
    }

    std::vector<Change> convertedSettings() const {
        std::vector<Change> changes;
        for (const auto& [key, value] : settings_) {
            const std::string name = py::str(key);
            const auto converter = converters().find(name);
            if (converter == converters().end())
                throw py::attribute_error("the detector has no setting " + name);
            changes.push_back(converter->second(py::reinterpret_borrow<py::object>(value)));
        }
        return changes;
    }

    void restore() {
        virtualDetector() = *before_;
        before_.reset();
        std::error_code ignored;
        if (!folder_)
            std::filesystem::remove_all(root_, ignored);
    }

    static std::filesystem::path temporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "qxutils-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::filesystem::filesystem_error("no temporary folder", name, {errno, std::generic_category()});
        return name;
    }

    std::optional<std::filesystem::path> folder_;
    py::dict settings_;
    std::optional<VirtualDetector> before_;
    std::filesystem::path root_;
};

using Class = py::class_<Session>;

template <class Value>
py::object given(const Value& value) {
    return py::cast(value);
}

// A copy that looked like the detector's own map would swallow what is written to it.
py::object given(const std::map<int, int>& values) {
    return py::module_::import("types").attr("MappingProxyType")(py::cast(values));
}

// A setting that place(detector) refers to.
template <class Place>
void setting(Class& session, const char* name, Place place) {
    using Value = std::remove_reference_t<decltype(place(virtualDetector()))>;
    const Converter converter = [name, place](const py::object& object) -> Change {
        return [place, value = qx::python::valueOf<Value>(name, object)](VirtualDetector& detector) {
            place(detector) = value;
        };
    };
    converters()[name] = converter;
    session.def_property(
        name,
        [place](const Session& self) {
            return given(self.with([&](VirtualDetector& detector) { return Value(place(detector)); }));
        },
        [converter](const Session& self, const py::object& object) { self.with(converter(object)); });
}

template <class Record, class Value>
void settings(Class& session, Record& (*record)(VirtualDetector&),
              std::initializer_list<std::pair<const char*, Value Record::*>> fields) {
    for (const auto& [name, field] : fields)
        setting(session, name,
                [record, field = field](VirtualDetector& detector) -> Value& { return record(detector).*field; });
}

VirtualDetector& itself(VirtualDetector& detector) {
    return detector;
}
ConfigInfo& configOf(VirtualDetector& detector) {
    return detector.config;
}
FpgaReg& registersOf(VirtualDetector& detector) {
    return detector.registers;
}
qxkit::DetectorFaults& faultsOf(VirtualDetector& detector) {
    return detector.faults;
}

void bindLimits(Class& session) {
    settings<ConfigInfo, std::int32_t>(session, configOf,
                                       {{"logging_enabled", &ConfigInfo::loggingEnabled},
                                        {"strip_mean_diff_limit", &ConfigInfo::stripMeanDiffLimit},
                                        {"dark_level_floor", &ConfigInfo::darkLevelFloor},
                                        {"exposed_block_floor", &ConfigInfo::exposedBlockFloor},
                                        {"false_trigger_median_floor", &ConfigInfo::falseTriggerMedianFloor},
                                        {"defect_correction_method", &ConfigInfo::defectCorrectionMethod},
                                        {"corrected_image_dump_level", &ConfigInfo::correctedImageDumpLevel}});
    settings<ConfigInfo, std::uint32_t>(session, configOf,
                                        {{"max_gray_value", &ConfigInfo::maxGrayValue},
                                         {"fixed_linear_gain_enabled", &ConfigInfo::fixedLinearGainEnabled}});
    settings<ConfigInfo, float>(session, configOf,
                                {{"uniformity_cv_limit", &ConfigInfo::uniformityCvLimit},
                                 {"rcn_row_diff_limit", &ConfigInfo::rcnRowDiffLimit},
                                 {"gain_group_cv_limit", &ConfigInfo::gainGroupCvLimit}});
}

void bindState(Class& session) {
    settings<VirtualDetector, int>(session, itself,
                                   {{"type", &VirtualDetector::type},
                                    {"width", &VirtualDetector::width},
                                    {"height", &VirtualDetector::height},
                                    {"mode", &VirtualDetector::mode},
                                    {"mode_width", &VirtualDetector::modeWidth},
                                    {"mode_height", &VirtualDetector::modeHeight},
                                    {"sync_mode", &VirtualDetector::syncMode},
                                    {"ndt_frame_count", &VirtualDetector::ndtFrameCount},
                                    {"afe_width", &VirtualDetector::afeWidth},
                                    {"aed_trigger_line", &VirtualDetector::aedTriggerLine},
                                    {"integration_time_ms", &VirtualDetector::integrationTimeMs}});
    settings<VirtualDetector, float>(
        session, itself,
        {{"temperature_c", &VirtualDetector::temperatureC}, {"time_interval_s", &VirtualDetector::timeIntervalS}});
    settings<VirtualDetector, std::string>(
        session, itself, {{"description", &VirtualDetector::description}, {"machine_id", &VirtualDetector::machineId}});
    settings<VirtualDetector, std::map<int, int>>(session, itself, {{"iparams", &VirtualDetector::iparams}});
    settings<FpgaReg, float>(session, registersOf, {{"exposure_time_ms", &FpgaReg::exposureTimeMs}});
    settings<FpgaReg, std::int32_t>(session, registersOf, {{"mode_word", &FpgaReg::modeWord}});
}

void bindFaults(Class& session) {
    using qxkit::DetectorFaults;
    settings<DetectorFaults, int>(session, faultsOf,
                                  {{"fault_registers", &DetectorFaults::getFpgaReg},
                                   {"fault_iparam", &DetectorFaults::getDetectorIparam},
                                   {"fault_information", &DetectorFaults::getDetectorInformation},
                                   {"fault_mode", &DetectorFaults::getModeInfo},
                                   {"fault_afe_width", &DetectorFaults::getAFEWidthByDetectorDescription},
                                   {"fault_status", &DetectorFaults::getStatusInformation},
                                   {"fault_image_header", &DetectorFaults::fillImgHead},
                                   {"fault_transfer", &DetectorFaults::transferFile}});
}

py::list transfers(const Session& self) {
    py::list calls;
    for (const qxkit::TransferCall& call :
         self.with([](const VirtualDetector& detector) { return detector.transfers; }))
        calls.append(py::make_tuple(call.kind, call.fileName, call.option, call.status));
    return calls;
}

template <void (*set)(int)>
void setId(const Session& self, const py::object& id) {
    const int value = qx::python::valueOf<int>("id", id);
    self.with([=](const VirtualDetector&) { set(value); });
}

std::string pathOf(const py::object& path) {
    PyObject* bytes = nullptr;
    if (PyUnicode_FSConverter(path.ptr(), &bytes) == 0)
        throw py::error_already_set();
    return py::reinterpret_steal<py::bytes>(bytes);
}

Session makeSession(const py::object& folder, const py::object& settings, const py::kwargs& more) {
    std::optional<std::filesystem::path> path;
    if (!folder.is_none())
        path = pathOf(folder);
    py::dict all = settings.is_none() ? py::dict() : py::dict(settings);
    all.attr("update")(more);
    return {std::move(path), std::move(all)};
}

}  // namespace

PYBIND11_MODULE(_detector, module) {
    py::options options;
    options.disable_function_signatures();
    Class session(module, "VirtualDetector", R"(The detector behind the kit's substitute, for a with block.

Inside the block the detector has its defaults, and the settings that were given as a dictionary or by name; its work
folder with the log is `folder`, or a temporary one that goes with the block. Settings are attributes, for the whole
process; set those of the checks before other threads call the library. iparams is a mapping that is not written to:
assign it, such as {**detector.iparams, 196: 3}. fault_... are statuses that the kit answers
with, 0 for none. When the block ends the detector is as it was before.)");
    session.def(py::init(&makeSession), py::arg("folder") = py::none(), py::arg("settings") = py::none())
        .def("__enter__",
             [](const py::object& self) {
                 self.cast<Session&>().enter();
                 return self;
             })
        .def("__exit__", [](Session& self, const py::args&) { self.leave(); })
        .def(
            "load", [](const Session& self, const py::object& file) { self.load(pathOf(file)); }, py::arg("file"),
            "Sets what a TOML file names; ValueError tells the line that is wrong.")
        .def_property_readonly(
            "folder",
            [](const Session& self) {
                return py::reinterpret_steal<py::str>(PyUnicode_DecodeFSDefault(self.folder().c_str()));
            },
            "The work folder.")
        .def_property_readonly("transfers", transfers,
                               "The transfers of files that were asked for: kind, name, option, status.")
        .def("set_gain_id", setId<qxkit::setGainId>, py::arg("gain_id"), "Sets the gain id in the mode word.")
        .def("set_power_mode", setId<qxkit::setPowerMode>, py::arg("power_mode_id"),
             "Sets the power mode id in the mode word.");
    bindLimits(session);
    bindState(session);
    bindFaults(session);
}
