#include "qxutils_c.h"

#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"

int qx_interface_version(void) {
    return QX_INTERFACE_VERSION;
}

const char* qx_status_message(int code) {
    return getStatusMessage(code);
}

int qx_status_code_at(int index) {
    return getStatusCodeAt(index);
}

int qx_WriteLogFile(int moduleId, int infoType, const char* text, int value) {
    return WriteLogFile(moduleId, infoType, text, value);
}

void qx_WriteErrorLine(int moduleId, int line, const char* sourceName) {
    WriteErrorLine(moduleId, line, sourceName);
}

int qx_setLogLevel(int level) {
    return setLogLevel(level);
}

int qx_getLogLevel(void) {
    return getLogLevel();
}

int qx_removeLogFile(void) {
    return removeLogFile();
}

void qx_setTimeStamp(char* destination) {
    setTimeStamp(destination);
}

void qx_getLocalTimeStr(char* destination) {
    getLocalTimeStr(destination);
}

double qx_GetTimeCounter(int64_t* start, int64_t* end, double* seconds) {
    if (start == nullptr || end == nullptr || seconds == nullptr)
        return StatusNullArgument;
    // The counters have 32 bits, so nothing is lost where `long` has no more.
    long first = static_cast<long>(*start);
    long last = static_cast<long>(*end);
    return GetTimeCounter(first, last, *seconds);
}

int qx_setUtilDebug(int flag) {
    return setUtilDebug(flag);
}

const char* qx_getQxUtilsDllVersion(void) {
    return getQxUtilsDllVersion();
}

int qx_getPowerModeId(void) {
    return getPowerModeId();
}

int qx_getGainId(void) {
    return getGainId();
}

int qx_getCurrentExpTime(void) {
    return getCurrentExpTime();
}

int qx_getAEDTrigSource(void) {
    return getAEDTrigSource();
}

int qx_getReadOutChannels(void) {
    return getReadOutChannels();
}
