#include "files/RawImageReader.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Diagnostics.h"

namespace qx {

File openJoined(const char* dir, const char* name, OpenMode mode, const char* failureText) {
    const JoinedPath path(dir, name);
    printDebug("Full path: %s \n", path.c_str());
    File file = openFile(path.c_str(), mode);
    if (!file)
        printDebug("%s", failureText);
    return file;
}

int lengthOfFile(const char* dir, const char* name, std::int64_t& length) {
    if (dir == nullptr || name == nullptr)
        return StatusNullArgument;
    const File file = openJoined(dir, name, OpenMode::ReadBinary, "Error opening file.\n");
    if (!file)
        return StatusFileOpenFailed;
    const std::int64_t found = fileLength(file.get());
    if (found < 0)
        return StatusFileReadFailed;
    length = found;
    return StatusOk;
}

RawImageReader::RawImageReader(const char* dir, const char* name) : status_(StatusNullArgument) {
    if (dir == nullptr || name == nullptr)
        return;
    file_ = openJoined(dir, name, OpenMode::ReadBinary, "Error opening file.\n");
    status_ = file_ ? StatusOk : StatusFileOpenFailed;
}

bool RawImageReader::read(char* piece, std::size_t bytes) {
    if (status_ != StatusOk)
        return false;
    const std::size_t count = std::fread(piece, 1, bytes, file_.get());
    count_ += count;
    if (count != bytes)
        status_ = StatusFileReadFailed;
    return status_ == StatusOk;
}

void RawImageReader::expectEnd() {
    if (status_ == StatusOk && (std::fgetc(file_.get()) != EOF || std::ferror(file_.get()) != 0))
        status_ = StatusFileReadFailed;
}

int RawImageReader::finish() {
    if (!file_)
        return status_;
    file_.reset();
    printDebug(" fread return count=%d\n", static_cast<int>(count_));
    if (status_ != StatusOk)
        printDebug("Read file error!\n");
    return status_;
}

}  // namespace qx
