#pragma once

// Control of the virtual detector that stands behind the QxSysMgt substitute. The whole state of that library is the
// one object virtualDetector() refers to; every function of QxSysMgt.h answers from it at once. Tests, tools and host
// programs set it field by field, or from a TOML file (kit/virtual/example.toml shows every key).
//
// All functions of QxSysMgt.h, and those here, may run in several threads at the same time. Who sets fields while
// others run holds the lock meanwhile:
//     const qxkit::DetectorLock lock;
//     qxkit::virtualDetector().temperatureC = 40.0f;
// The lock does not reach the configuration record, which is read where it lies: set it, load a TOML file and reset the
// detector before other threads use the kit.
//
// The detector is never destroyed, so that destructors of global objects still find it.

#include "QxKitExport.h"
#include "QxSysMgt.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace qxkit {

// Statuses that functions return instead of their work; 0 lets a function work. A failing function leaves its output
// as it was.
struct DetectorFaults {
    int getFpgaReg = 0;
    int getDetectorIparam = 0;
    int getDetectorInformation = 0;
    int getModeInfo = 0;
    int getAFEWidthByDetectorDescription = 0;
    int getStatusInformation = 0;
    int fillImgHead = 0;
    int transferFile = 0;                           // every file
    std::map<std::string, int> transferFileByName;  // one file; goes before transferFile
};

// One call of transferFile and what it returned.
struct TransferCall {
    int kind = 0;
    std::string fileName;
    int option = 0;
    int status = 0;
};

// Directories end with a separator, '\\' on every platform. A text that QxSysMgt has handed out stays as it is for
// good, whatever becomes of its field.
struct VirtualDetector {
    QXKIT_API VirtualDetector();

    ConfigInfo config{};
    FpgaReg registers{};
    std::map<int, int> iparams;  // parameter id -> value; ids that are missing give status 1020

    int type = 1;
    int width = 3072;                          // pixels
    int height = 3072;                         // pixels
    std::string description = "Halbrook4343";  // cut after 255 characters when it is handed out
    std::string machineId = "VD-0001";

    int mode = 1;
    int modeWidth = 3072;   // pixels
    int modeHeight = 3072;  // pixels
    int syncMode = 0;       // 3 is AED
    int ndtFrameCount = 1;
    int afeWidth = 128;         // columns
    int aedTriggerLine = 1536;  // row
    int integrationTimeMs = 500;
    float temperatureC = 35.0f;
    float timeIntervalS = 1.0f;

    std::string workDirectory = ".\\";
    std::string offsetDirectory = ".\\offset\\";
    std::string gainDirectory = ".\\gain\\";
    std::string defectDirectory = ".\\defect\\";
    std::string temperatureDirectory = ".\\temperature\\";
    std::string storageDirectory = ".\\storage\\";  // the detector's own memory, where transferFile finds its files

    DetectorFaults faults;
    std::vector<TransferCall> transfers;  // every call of transferFile, oldest first
};

// The state behind QxSysMgt.
QXKIT_API VirtualDetector& virtualDetector();

// Keeps the state from other threads while it lives. A thread may hold several, one inside the other.
class DetectorLock {
public:
    QXKIT_API DetectorLock();
    QXKIT_API ~DetectorLock();
    DetectorLock(const DetectorLock&) = delete;
    DetectorLock& operator=(const DetectorLock&) = delete;
};

// Gives every field its default again.
QXKIT_API void resetVirtualDetector();

// Sets the power mode id and the gain id (0..7 each; the low three bits count) in the mode word.
QXKIT_API void setPowerMode(int powerModeId);
QXKIT_API void setGainId(int gainId);

// Makes root the work directory and its subfolders offset, gain, defect, temperature and storage the others, and
// creates those that are missing. Returns an error text, empty on success; the detector is as before on an error, but
// folders made before the one that could not be made stay. On Windows a folder that the process's ANSI code page cannot
// spell is refused, elsewhere one with a '\\' in a name.
QXKIT_API std::string setDirectories(const std::filesystem::path& root);

// The path of a kit text such as getWorkDir() for the operating system: '\\' is a separator on every platform, and on
// Windows the text is in the process's ANSI code page.
QXKIT_API std::filesystem::path nativePath(const std::string& kitPath);

// Sets what the TOML file names and keeps the rest; folders it names, in UTF-8 as the whole file, are created when
// missing, relative ones below the file's own folder. Returns an empty text, or one line
// "file:line: key: what is wrong" ("file: cannot be read" when there is no text to read). The detector is as before on
// an error. Folders are made when all else has proved right; those made before one that could not be made stay.
QXKIT_API std::string loadVirtualDetector(const std::filesystem::path& file);

}  // namespace qxkit
