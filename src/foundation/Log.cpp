#include "foundation/Log.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Diagnostics.h"
#include "foundation/LogFolder.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/SharedAppend.h"

#include <QxSysMgt.h>

#include <atomic>
#include <cstdio>
#include <new>
#include <string>

namespace {

constexpr int kModuleCount = 10;
constexpr const char* kModuleTags[kModuleCount] = {"ApiInv", "QxApi ", "Calib ", "Codec ", "Config",
                                                   "Corr  ", "Net   ", "SysMgt", "Utils ", "V1Api "};
constexpr int kSeverityCount = 4;
constexpr char kSeverityLetters[kSeverityCount + 1] = "DIWE";

constexpr int kLineTextCapacity = 1024;
constexpr int kErrorLineCapacity = 100;
constexpr int kLineNumberCapacity = 11;

std::atomic<int> logLevel = LogInfo;

// The line as it stands in the file; throws when memory is short.
std::string composeLine(const qx::LocalTime& now, int moduleId, int infoType, const char* text, int value) {
    char stamp[96];
    std::snprintf(stamp, sizeof stamp, "%d/%02d/%02d-%02d:%02d:%02d.%03d | %s | %c | ", now.year, now.month, now.day,
                  now.hour, now.minute, now.second, now.millisecond, kModuleTags[moduleId], kSeverityLetters[infoType]);
    char number[16] = "";
    if (value != kLogNoValue)
        std::snprintf(number, sizeof number, "%d", value);
    // Kept: nothing parts the text from the value.
    return std::string(stamp).append(text).append(number).append("\n");
}

void appendToDailyLog(const qx::LogFolder& folder, int moduleId, int infoType, const char* text, int value) noexcept {
    const qx::LocalTime now = qx::localTime();
    char fileName[64];
    std::snprintf(fileName, sizeof fileName, "%d-%02d-%02d.log", now.year, now.month, now.day);
    try {
        const std::string line = composeLine(now, moduleId, infoType, text, value);
        qx::appendShared(qx::JoinedPath(folder.path(), fileName).c_str(), line);
    } catch (const std::bad_alloc&) {
        // A log that cannot be written never disturbs the caller.
        return;
    }
}

void logCourse(const char* operation, const char* words, int value, LogModuleId module) noexcept {
    char text[kLineTextCapacity];
    std::snprintf(text, sizeof text, "<%s>%s", operation, words);
    WriteLogFile(module, LogInfo, text, value);
}

}  // namespace

int WriteLogFile(int moduleId, int infoType, const char* text, int value) {
    if (qx::Silence::isKept())
        return 0;
    const ConfigInfo* config = getConfigInfo();
    // Kept: goes before every other check.
    if (config == nullptr || config->loggingEnabled == 0)
        return -1;
    if (text == nullptr)
        return StatusNullArgument;
    const qx::LogFolder folder;
    // Kept: the folder comes first, then the module, then the level, then the severity.
    if (!folder.exists())
        qx::createDirectory(folder.path());
    if (moduleId < 0 || moduleId >= kModuleCount) {
        qx::printDebug("The ModeId error,must be from 0 to 9.\n");
        return 1;
    }
    if (infoType < logLevel)
        return 0;
    if (infoType < 0 || infoType >= kSeverityCount) {
        qx::printDebug("Write log file error,InfoType must be 0(D),1(I), 2(W) or 3(E).\n");
        return 1;
    }
    if (folder.hasPath())
        appendToDailyLog(folder, moduleId, infoType, text, value);
    // Kept: a line that could not be written is not reported.
    return 0;
}

void WriteErrorLine(int moduleId, int line, const char* sourceName) {
    char number[kLineNumberCapacity];
    std::snprintf(number, sizeof number, "%d", line);
    char text[kErrorLineCapacity];
    std::snprintf(text, sizeof text, "Error occur in %s,line %s", sourceName != nullptr ? sourceName : "", number);
    WriteLogFile(moduleId, LogError, text, kLogNoValue);
}

int setLogLevel(int level) {
    logLevel = level;
    return 0;
}

int getLogLevel() {
    return logLevel;
}

namespace qx {

void logInfo(int value, const char* format, ...) noexcept {
    char text[kLineTextCapacity];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    WriteLogFile(LogModuleUtils, LogInfo, text, value);
}

void logBegin(const char* operation, LogModuleId module) noexcept {
    logCourse(operation, " begins", kLogNoValue, module);
}

void logEnd(const char* operation, const char* ending, int value, LogModuleId module) noexcept {
    logCourse(operation, ending, value, module);
}

void logAllocationFailure(const char* buffer, long long bytes, int value) noexcept {
    logInfo(value, "allocate %s failed, expected size is %lld", buffer, bytes);
}

}  // namespace qx
