#pragma once

// Raw image files: the bytes of a buffer as they stand, optionally behind the 65536-byte image header.
//
// A path is a directory text directly followed by a file name, so the directory ends with a separator; '\\' separates
// on every platform. Texts are in the process's ANSI code page on Windows (UTF-8 where the program's manifest says so),
// which is what names in a listing come back in, and bytes elsewhere. A joined path holds at most 255 characters; where
// nothing else is said, a longer one counts as a file that cannot be opened. A directory is never a readable file.
// Diagnostics go to standard output while the debug flag is set.
//
// Common codes: 1057 a null argument, 1020 a negative size or a file longer than the result can hold, 1039 a file
// that cannot be opened or created. Outputs are written only on success, unless said otherwise. Functions keep no state
// of their own, but share the console, the debug flag and the log. Elsewhere than on Windows a path of 1024 characters
// or more counts as missing.

#include "Export.h"
#include "Records.h"
#include "Types.h"

#include <vector>

// Writes size bytes as the whole content of a file; the directory is created when missing (one level). They are written
// beside the file and replace it when they are all there: who opens the name sees the old content or the new one, and a
// failure leaves the old one, or none. The disk needs room for both. The permissions stay (on Windows they are the
// directory's), and so does a symbolic link: what it leads to is replaced. The creation time stays on Windows;
// elsewhere the file counts as created by the call. What cannot be replaced is written in place, and a failure leaves
// what was written: a device or pipe; a file of several names (hard links), which all show the new content; one whose
// owner or access list could not be kept; a symbolic link that leads nowhere (on Windows any link); on Windows a file
// that is hidden, or stays open elsewhere; every file in a directory where no second one can be made. A process that
// dies meanwhile leaves at most a file named ".qx-" and six hexadecimal digits, which functions that list directories
// pass over. Returns 0, 1057, 1020, 1039, or 1041 when fewer bytes were written, or closing the file lost some.
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
// The destination is emptied first, so a file copied onto itself ends up empty; without memory nothing happens.
// Memory: 256 KiB.
QXUTILS_API int copyFile(const char* destination, const char* source);

// CRC-32 of a file (reflected polynomial 0x04C11DB7 of IEEE 802.3, initial value all ones, result complemented).
// Returns 0, 1057, 1039 (also printed, whatever the debug flag), 1035 when memory is short, or 1040 when reading fails
// half-way. Cost: one pass; 256 KiB of memory, whatever the file's length.
QXUTILS_API int readLocalCRC(const char* dir, const char* name, unsigned long& crc);

// XORs byte i of a buffer with i mod 256, in place: applied twice it restores the bytes. Null, or a length below 1,
// changes nothing. Always returns 0.
QXUTILS_API int codecData(char* buffer, int length);

// The number between "ms-" and "-mA" in a gain image's file name, such as 25 in "gain-300ms-25-mA.raw"; a sign and
// leading digits only. Returns 1057 for null and 1020 when a marker is missing or they come in the other order. 50 or
// more characters between the markers are a fatal error: one line on standard error, then abort.
QXUTILS_API int getGainExpTime(const char* fileName);

// Copies of regions of an image header in memory, numbers converted to the processor's order. The header holds 65536
// bytes, of which the first 72 are read, 656 from 16384 on, and 568 from 32768 on. Null pointers: nothing happens, and
// the temperature is -128.
QXUTILS_API void getDetectorFileHeadFromImageHead(DetectorFileHead* record, const char* header);
QXUTILS_API void getDetectorInfoHeadFromImageHead(DetectorInfoHead* record, const char* header);
QXUTILS_API void getPcImageHeadFromImageHead(PcImgHead* record, const char* header);

// The panel's temperature in degrees Celsius.
QXUTILS_API float getTemperatureFromImageHead(const char* header);

// Directories. A directory text ends with a separator, the empty one is the current directory; a text above 254
// characters counts as a directory that cannot be listed, and so does one whose listing breaks off or finds no memory
// to begin; an entry whose joined path exceeds 255 characters counts as a file that is not there. Elsewhere than on
// Windows an entry with a '\' in its name is left alone, be it file or folder: a path would name another one.

// Returns 0 when the path exists, be it a file or a directory, 1038 when not, 1057 for null.
QXUTILS_API int CheckDirPath(char*& path);

// Total length in bytes of the files in a directory, its subdirectories left out. Returns 1.0, too, when the directory
// cannot be listed or is null.
QXUTILS_API double getDirectorySpace(const char* dir);

// Appends the regular files of a directory to list and sorts the whole list by creation time, oldest first. Start with
// a null list and a count of 0; the list belongs to the caller then, who releases it by releaseFileList(), or by free()
// of the same C runtime (on Windows msvcrt.dll), from whose malloc() another list comes. Times are compared by the
// wrapping 32-bit difference of their high halves and, when these are equal, of their low halves: files of the same
// high half (429 s) whose times lie more than 214 s apart come in the other order. Returns 0, 1 when the directory
// cannot be listed, 1057 for null, 1020 for a negative count or records without a list, 1035 when memory is short; list
// and count change only on 0.
QXUTILS_API int sortFileByCreateTime(const char* dir, _WIN32_FIND_DATAA*& list, int& count);

// Releases a list of sortFileByCreateTime and makes the pointer null. Null is left alone.
QXUTILS_API void releaseFileList(_WIN32_FIND_DATAA*& list);

// Adds the number of regular files in a directory to count, which is not reset. Returns 0, 1 when the directory cannot
// be listed, or 1057 for null.
QXUTILS_API int getFileNumInDirectory(const char* dir, int& count);

// Texts.

// Splits a text at a separator into at most 40 pieces of at most 99 characters; a separator at the end is followed by
// no piece. out receives 40 pointers to pieces of 100 characters, zero-filled, that lie one behind the other, and count
// the number of pieces. The caller releases the characters by deleteMemory(out[0]), then the pointers by
// deleteMemory2(out).
// Returns 0; 1057 for a null text, with out set and count as it was; 1020 for a text of 4000 characters or more (count
// is 0), or when a piece or the number of pieces exceeds its limit, with out set and the pieces before that filled and
// counted; 1035 when memory is short, with out and count as they were.
QXUTILS_API int CutString(char**& out, const char* text, char separator, int& count);

// The first position at which patternLength characters of a text equal the pattern, or -1. The last possible position,
// textLength - patternLength, is not tried: a pattern that only ends the text is not found. A pattern without
// characters is found at 0 in a longer text. Null gives -1.
QXUTILS_API void getStrPos(const char* text, const char* pattern, int textLength, int patternLength, int& position);

// Returns 0 for four numbers 0 .. 255 without leading zeros, separated by dots, and 1020 for any other text; 1057 for
// null. The characters between the dots are not checked to be digits: one counts as its distance from '0', so that a
// few other texts pass.
QXUTILS_API int checkIP(const char* address);

// Base64 (RFC 4648, padded, without line ends) of the first length bytes of source. Writes 4 characters for every
// started group of 3 bytes and a zero behind them, only the zero for a length below 1 or a null source. The buffers do
// not overlap. Returns the destination.
QXUTILS_API char* base64_encode(const char* source, char* destination, int length);

// Decodes a zero-terminated text, 3 bytes from 4 characters, until it ends or a third or fourth character of a group is
// '='. Returns the number of bytes; no zero is written behind them. Nothing is skipped and nothing refused: a character
// that is not in the alphabet counts as 255, and so does what an incomplete last group lacks. The destination holds 3
// bytes for every started group of 4 characters; it may be the source. Null gives 0.
QXUTILS_API int base64_decode(const char* source, char* destination);

// Decodes a text file line by line (pieces of at most 1023 characters) into another one. A line yields its decoded
// bytes up to the first zero byte and a line end; an incomplete group at the end of a line is left out. When the source
// ends with a line end, its last line is written twice. An empty source empties the destination, and so does a source
// that is the destination. Every tenth line is reported on standard output, whatever the debug flag; a write that falls
// short is logged.
// Returns 0, 1038 when the source does not exist, 1039 when either file cannot be opened, 1040 when reading fails
// half-way, 1057 for null. Takes no memory that could be missing.
QXUTILS_API int decodeFile(const char* source, const char* destination);

// Pixels and lists.

// Where on a width x height image a pixel index lies: 0 top row, 1 bottom row (corners belong to these), 2 left column,
// 3 right column, 4 inside. The index is not checked against the image: negative ones and those beyond the last pixel
// are told by their column alone. Returns 1020 for sizes below 1.
QXUTILS_API int ImageBoundCheck(int& pixel, int& width, int& height);

// 1 or 0: whether a value is among those of a list, and whether it is not. A null list is empty.
QXUTILS_API int isInVector(const std::vector<int>* list, int value);
QXUTILS_API int isNewElement(const std::vector<int>* list, int value);

// Releases an array of characters, or of pointers but not what these point to, and makes the pointer null. Null is left
// alone. The array comes from this library (CutString) or from new[] of the same C++ runtime.
QXUTILS_API void deleteMemory(char*& array);
QXUTILS_API void deleteMemory2(char**& array);
