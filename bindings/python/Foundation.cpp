#include "Arrays.h"
#include "Binding.h"

#include "QxUtils/Foundation.h"

#include <array>
#include <optional>

namespace qx::python {

namespace {

using py::arg;

int writeLog(const std::string& text, std::optional<int> value, int module, int severity) {
    return released([&] { return WriteLogFile(module, severity, text.c_str(), value.value_or(kLogNoValue)); });
}

template <void (*write)(char*), std::size_t kSize>
std::string timeText() {
    std::array<char, kSize> text{};
    write(text.data());
    return text.data();
}

double secondsBetween(long start, long end) {
    double seconds = 0.0;
    return GetTimeCounter(start, end, seconds);
}

py::list statusCodes() {
    py::list codes;
    for (int i = 0, code = getStatusCodeAt(0); code >= 0; code = getStatusCodeAt(++i))
        codes.append(code);
    return codes;
}

void bindLog(py::module_& module) {
    define(module, "write_log", "WriteLogFile", "Appends a line to the daily log; returns the library's answer.",
           writeLog, arg("text"), arg("value") = py::none(), py::kw_only(), arg("module") = int{LogModuleUtils},
           arg("severity") = int{LogInfo});
    define(
        module, "write_error_line", "WriteErrorLine", "Logs where an error was noticed.",
        [](int id, int line, const std::string& source) {
            released([&] { WriteErrorLine(id, line, source.c_str()); });
        },
        arg("module"), arg("line"), arg("source_name"));
    define(
        module, "set_log_level", "setLogLevel", "Sets the severity from which lines are written.",
        [](int level) { require(setLogLevel(level)); }, arg("level"));
    define(module, "log_level", "getLogLevel", "The severity from which lines are written.", getLogLevel);
    define(module, "remove_old_logs", "removeLogFile",
           "Deletes logs of more than 30 days; QxError 1 when the log folder cannot be listed.",
           [] { require(released(removeLogFile), "The log folder cannot be listed."); });
}

void bindDetectorQueries(py::module_& module) {
    define(module, "power_mode_id", "getPowerModeId", "Power mode id of the detector.",
           [] { return released(getPowerModeId); });
    define(module, "gain_id", "getGainId", "Gain id of the detector.", [] { return released(getGainId); });
    define(module, "exposure_time_ms", "getCurrentExpTime", "Exposure time of the detector.",
           [] { return released(getCurrentExpTime); });
    define(module, "aed_trigger_source", "getAEDTrigSource", "What triggers the detector.",
           [] { return released(getAEDTrigSource); });
    define(module, "readout_channels", "getReadOutChannels", "Read-out channels of the detector.",
           [] { return released(getReadOutChannels); });
}

}  // namespace

void bindFoundation(py::module_& module) {
    define(
        module, "status_message", "getStatusMessage",
        "The text of a status code, None for one that was never assigned.",
        [](int code) { return getStatusMessage(code); }, arg("code"));
    define(module, "status_codes", "getStatusCodeAt", "All codes that have a message, in ascending order.",
           statusCodes);
    define(module, "library_version", "getQxUtilsDllVersion", "The library's name and version.",
           [] { return py::str(getQxUtilsDllVersion()); });
    define(
        module, "set_debug", "setUtilDebug", "Switches diagnostics on standard output on or off.",
        [](int flag) { require(released([&] { return setUtilDebug(flag); })); }, arg("flag"));
    define(module, "time_stamp", "setTimeStamp", "Local time as 14 digits.", timeText<setTimeStamp, 15>);
    define(module, "local_time", "getLocalTimeStr", "Local time for people.", timeText<getLocalTimeStr, 20>);
    define(module, "seconds_between", "GetTimeCounter", "Seconds between two readings of a counter of milliseconds.",
           secondsBetween, arg("start"), arg("end"));
    bindLog(module);
    bindDetectorQueries(module);
}

}  // namespace qx::python
