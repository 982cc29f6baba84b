#pragma once

// Log, version, debug switch, time texts and the detector's settings.
//
// The log level and the debug flag are process-wide; any thread may set them at any time.

#include "Export.h"

// Who writes a log line: its tag in the line.
enum LogModuleId : int {
    LogModuleApiInv = 0,
    LogModuleQxApi = 1,
    LogModuleCalib = 2,
    LogModuleCodec = 3,
    LogModuleConfig = 4,
    LogModuleCorr = 5,
    LogModuleNet = 6,
    LogModuleSysMgt = 7,
    LogModuleUtils = 8,
    LogModuleV1Api = 9,
};

// How severe a log line is: written as the letters D, I, W, E.
enum LogInfoType : int {
    LogDebug = 0,
    LogInfo = 1,
    LogWarning = 2,
    LogError = 3,
};

// The value that stands for "none" in WriteLogFile.
inline constexpr int kLogNoValue = -1000;

// Appends one line to the daily log, <work directory>logs\<year>-<month>-<day>.log:
//     2024/03/07-09:05:03.042 | Utils  | I | <text><value>
// The folder "logs" is created when missing; an empty work directory is the current one. The line is appended in one
// write under a lock, so lines of several processes never mix. A log that cannot be written is not reported, nor is a
// line that is lost for want of memory.
//   value   appended to the text as a decimal number, without a blank; kLogNoValue appends nothing
// Returns, in this order: -1 when the configuration switches logging off; 1057 when text is null; 1 when moduleId is
// outside 0..9; 0 without writing when infoType is below the log level; 1 when infoType is above 3 (or negative at a
// lower level); otherwise 0.
QXUTILS_API int WriteLogFile(int moduleId, int infoType, const char* text, int value);

// Logs "Error occur in <sourceName>,line <line>" with severity E, cut to 99 characters.
QXUTILS_API void WriteErrorLine(int moduleId, int line, const char* sourceName);

// Lines whose severity is below the level are not written. The level starts at 1 and is not checked. Returns 0.
QXUTILS_API int setLogLevel(int level);
QXUTILS_API int getLogLevel();

// Deletes the files of the log folder whose names have a '-' as the fifth and the eighth character and whose date, read
// from the decimal numbers around them, lies more than 30 days back; months count 30 days and years 365. A part that
// is no number counts as 0. Folders stay, and so do names with a '\' in them; deletion failures are ignored.
// Returns 0, also without a log folder, or 1 when the folder cannot be listed to its end, be it for want of memory.
QXUTILS_API int removeLogFile();

// Local time as 14 digits, year to second; destination holds at least 15 characters. Null is ignored.
QXUTILS_API void setTimeStamp(char* destination);

// Local time as "YYYY-MM-DD hh:mm:ss"; destination holds at least 20 characters. Null is ignored.
QXUTILS_API void getLocalTimeStr(char* destination);

// Seconds between two readings of a 32-bit millisecond counter; a counter that wrapped between them is allowed for.
// Also stored in seconds.
QXUTILS_API double GetTimeCounter(long& start, long& end, double& seconds);

// Non-zero switches the library's diagnostics on standard output on. Prints the new value. Returns 0.
QXUTILS_API int setUtilDebug(int flag);

// The library's name and version. The text is static, the same at every call, and must not be changed.
QXUTILS_API char* getQxUtilsDllVersion();

// Power mode id of the detector, 0..7, or the status of a register read that failed.
QXUTILS_API int getPowerModeId();

// Gain id of the detector, 0..7, or the status of a register read that failed.
QXUTILS_API int getGainId();

// Exposure time in milliseconds, rounded half up; 500 when the registers cannot be read.
QXUTILS_API int getCurrentExpTime();

// AED trigger source, 0..3. When the parameter cannot be read: 1, or what the read left in its place.
QXUTILS_API int getAEDTrigSource();

// Read-out channels of the detector type: 44, 88, 96 or 128; 44 for types that are not listed. The value that the
// closing log line carries is 0 whatever the result.
QXUTILS_API int getReadOutChannels();
