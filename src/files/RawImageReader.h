#pragma once

#include "foundation/JoinedPath.h"
#include "platform/FileSystem.h"

#include <cstddef>
#include <cstdint>

namespace qx {

// Opens the file that a directory and a name make, telling the console about it while debugging.
File openJoined(const char* dir, const char* name, OpenMode mode, const char* failureText);

// Stores the file's length, however long it is. Returns 0; 1057 for a null text, 1039 or 1040 when the file cannot be
// opened or has no length, with the console messages of getImageSize. length changes only on 0.
int lengthOfFile(const char* dir, const char* name, std::int64_t& length);

// Reads a raw image piece by piece, with the statuses and console messages of readImageFromDisk.
class RawImageReader {
public:
    RawImageReader(const char* dir, const char* name);

    // False when the piece is not there as a whole; nothing more is read then.
    bool read(char* piece, std::size_t bytes);

    // A file that goes on behind what was read counts as one that cannot be read.
    void expectEnd();

    // 0 when every piece was there; 1057 for a null text, 1039 or 1040 otherwise.
    int finish();

private:
    int status_;
    File file_;
    std::size_t count_ = 0;
};

}  // namespace qx
