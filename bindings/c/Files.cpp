#include "qxutils_c.h"

#include "QxUtils/Files.h"
#include "QxUtils/StatusCode.h"

#include <algorithm>
#include <cstddef>

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

// Records of the same layout, byte for byte.
template <class Ours, class Theirs>
Theirs* sameRecord(Ours* record) noexcept {
    static_assert(sizeof(Ours) == sizeof(Theirs) && alignof(Ours) == alignof(Theirs));
    return reinterpret_cast<Theirs*>(record);
}

static_assert(sizeof(qx_file_entry) == sizeof(_WIN32_FIND_DATAA));
static_assert(offsetof(qx_file_entry, created) == offsetof(_WIN32_FIND_DATAA, ftCreationTime));
static_assert(offsetof(qx_file_entry, sizeHigh) == offsetof(_WIN32_FIND_DATAA, nFileSizeHigh));
static_assert(offsetof(qx_file_entry, name) == offsetof(_WIN32_FIND_DATAA, cFileName));
static_assert(offsetof(qx_file_entry, alternateName) == offsetof(_WIN32_FIND_DATAA, cAlternateFileName));

}  // namespace

int qx_writeImageToDisk(const char* dir, const char* name, const char* buffer, int size) {
    return writeImageToDisk(dir, name, buffer, size);
}

int qx_readImageFromDisk(const char* dir, const char* name, char* buffer, int size) {
    return readImageFromDisk(dir, name, buffer, size);
}

int qx_imageWithHead(const char* dir, const char* name, int expectedSize) {
    return imageWithHead(dir, name, expectedSize);
}

int qx_getImageSize(const char* dir, const char* name, int64_t* size) {
    if (size == nullptr)
        return StatusNullArgument;
    long length = 0;
    const int status = getImageSize(dir, name, length);
    if (status == StatusOk)
        *size = length;
    return status;
}

int qx_cleanFile(const char* dir, const char* name) {
    return cleanFile(dir, name);
}

int qx_copyFile(const char* destination, const char* source) {
    return copyFile(destination, source);
}

int qx_readLocalCRC(const char* dir, const char* name, uint32_t* crc) {
    if (crc == nullptr)
        return StatusNullArgument;
    unsigned long value = 0;
    const int status = readLocalCRC(dir, name, value);
    if (status == StatusOk)
        *crc = static_cast<uint32_t>(value);
    return status;
}

int qx_codecData(char* buffer, int length) {
    return codecData(buffer, length);
}

int qx_getGainExpTime(const char* fileName) {
    return getGainExpTime(fileName);
}

void qx_getDetectorFileHeadFromImageHead(qx_detector_file_head* record, const char* header) {
    getDetectorFileHeadFromImageHead(sameRecord<qx_detector_file_head, DetectorFileHead>(record), header);
}

void qx_getDetectorInfoHeadFromImageHead(qx_detector_info_head* record, const char* header) {
    getDetectorInfoHeadFromImageHead(sameRecord<qx_detector_info_head, DetectorInfoHead>(record), header);
}

void qx_getPcImageHeadFromImageHead(qx_pc_img_head* record, const char* header) {
    getPcImageHeadFromImageHead(sameRecord<qx_pc_img_head, PcImgHead>(record), header);
}

float qx_getTemperatureFromImageHead(const char* header) {
    return getTemperatureFromImageHead(header);
}

int qx_CheckDirPath(const char* path) {
    char* text = const_cast<char*>(path);
    return CheckDirPath(text);
}

double qx_getDirectorySpace(const char* dir) {
    return getDirectorySpace(dir);
}

int qx_sortFileByCreateTime(const char* dir, qx_file_entry** list, int* count) {
    if (list == nullptr || count == nullptr)
        return StatusNullArgument;
    auto* records = sameRecord<qx_file_entry, _WIN32_FIND_DATAA>(*list);
    const int status = sortFileByCreateTime(dir, records, *count);
    *list = sameRecord<_WIN32_FIND_DATAA, qx_file_entry>(records);
    return status;
}

void qx_releaseFileList(qx_file_entry** list) {
    if (list == nullptr)
        return;
    auto* records = sameRecord<qx_file_entry, _WIN32_FIND_DATAA>(*list);
    releaseFileList(records);
    *list = nullptr;
}

int qx_getFileNumInDirectory(const char* dir, int* count) {
    return count != nullptr ? getFileNumInDirectory(dir, *count) : int{StatusNullArgument};
}

int qx_CutString(char*** out, const char* text, char separator, int* count) {
    return out != nullptr && count != nullptr ? CutString(*out, text, separator, *count) : int{StatusNullArgument};
}

void qx_getStrPos(const char* text, const char* pattern, int textLength, int patternLength, int* position) {
    if (position != nullptr)
        getStrPos(text, pattern, textLength, patternLength, *position);
}

int qx_checkIP(const char* address) {
    return checkIP(address);
}

char* qx_base64_encode(const char* source, char* destination, int length) {
    return base64_encode(source, destination, length);
}

int qx_base64_decode(const char* source, char* destination) {
    return base64_decode(source, destination);
}

int qx_decodeFile(const char* source, const char* destination) {
    return decodeFile(source, destination);
}

int qx_ImageBoundCheck(const int* pixel, const int* width, const int* height) {
    if (pixel == nullptr || width == nullptr || height == nullptr)
        return StatusNullArgument;
    int index = *pixel;
    int columns = *width;
    int rows = *height;
    return ImageBoundCheck(index, columns, rows);
}

// The exports take vectors; their rule needs none.
int qx_isInVector(const int* list, int count, int value) {
    if (count < 0)
        return StatusWrongParameter;
    return list != nullptr && std::find(list, list + count, value) != list + count ? 1 : 0;
}

int qx_isNewElement(const int* list, int count, int value) {
    return count < 0 ? int{StatusWrongParameter} : 1 - qx_isInVector(list, count, value);
}

void qx_deleteMemory(char** array) {
    if (array != nullptr)
        deleteMemory(*array);
}

void qx_deleteMemory2(char*** array) {
    if (array != nullptr)
        deleteMemory2(*array);
}
