#pragma once

// Raw image files: the bytes of a buffer as they stand, optionally behind the 65536-byte image header.
//
// A path is a directory text directly followed by a file name, so the directory ends with a separator; '\\' separates
// on every platform. A joined path holds at most 255 characters; where nothing else is said, a longer one counts as a
// file that cannot be opened. A directory is never a readable file. Diagnostics go to standard output while the debug
// flag is set.
//
// Common codes: 1057 a null argument, 1020 a negative size or a file longer than the result can hold, 1039 a file
// that cannot be opened or created. Outputs are written only on success, unless said otherwise.

#include "Export.h"
#include "Records.h"

// Length of the image header that precedes the pixels of a calibration or NDT image file.
inline constexpr int kImageHeaderBytes = 65536;

// Writes size bytes as the whole content of a file; the directory is created when missing (one level).
// Returns 0, 1057, 1020, 1039, or 1041 when fewer bytes were written (what was written stays on disk).
QXUTILS_API int writeImageToDisk(const char* dir, const char* name, const char* buffer, int size);

// Reads the first size bytes of a file. Returns 0, 1057, 1020, 1039, or 1040 when the file is shorter; the bytes that
// were read are in the buffer then.
QXUTILS_API int readImageFromDisk(const char* dir, const char* name, char* buffer, int size);

// Returns 1 when the file's length equals expectedSize and 0 when not; 1057 or 1039 on failure, 1040 when the file has
// no length.
QXUTILS_API int imageWithHead(const char* dir, const char* name, int expectedSize);

// The length of a file in bytes. Returns 0, 1057, 1039, 1040 when the file has no length (a pipe), or 1020 when it does
// not fit.
QXUTILS_API int getImageSize(const char* dir, const char* name, long& size);

// Empties a file, or creates it empty. Returns 0, 1057 or 1039. A joined path above 255 characters is a fatal error:
// one line on standard error, then abort.
QXUTILS_API int cleanFile(const char* dir, const char* name);

// Copies a file byte by byte. Always returns 0: a source or destination that cannot be opened is silently left alone.
// The destination is emptied first, so a file copied onto itself ends up empty.
QXUTILS_API int copyFile(const char* destination, const char* source);

// CRC-32 of a file (reflected polynomial 0x04C11DB7 of IEEE 802.3, initial value all ones, result complemented).
// Returns 0, 1057, 1039 (also printed, whatever the debug flag), or 1040 when reading fails half-way.
// Cost: one pass; 256 KiB of automatic memory, whatever the file's length.
QXUTILS_API int readLocalCRC(const char* dir, const char* name, unsigned long& crc);

// XORs byte i of a buffer with i mod 256, in place: applied twice it restores the bytes. Null, or a length below 1,
// changes nothing. Always returns 0.
QXUTILS_API int codecData(char* buffer, int length);

// The number between "ms-" and "-mA" in a gain image's file name, such as 25 in "gain-300ms-25-mA.raw"; leading
// digits only. Returns 1057 for null and 1020 when a marker is missing or they come in the other order. 50 or more
// characters between the markers are a fatal error: one line on standard error, then abort.
QXUTILS_API int getGainExpTime(const char* fileName);

// Copies of regions of an image header in memory, numbers converted to the processor's order. The header holds 65536
// bytes, of which the first 72 are read, 656 from 16384 on, and 568 from 32768 on. Null pointers: nothing happens, and
// the temperature is -128.
QXUTILS_API void getDetectorFileHeadFromImageHead(DetectorFileHead* record, const char* header);
QXUTILS_API void getDetectorInfoHeadFromImageHead(DetectorInfoHead* record, const char* header);
QXUTILS_API void getPcImageHeadFromImageHead(PcImgHead* record, const char* header);

// The panel's temperature in degrees Celsius.
QXUTILS_API float getTemperatureFromImageHead(const char* header);
