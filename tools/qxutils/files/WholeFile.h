#pragma once

#include "files/NativeFile.h"
#include "files/TemporaryName.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

// Files that appear whole under their names or not at all. Every function throws a ToolError of one line that names the
// file and what to do.

namespace qx::tool {

// What the user said about files that are written.
struct WritePolicy {
    bool dryRun = false;
    bool noClobber = false;
};

// Standard error tells in a dry run which files and folders would be written.
void setWritePolicy(const WritePolicy& policy);
const WritePolicy& writePolicy();

// Lets files that lie in this folder be written whatever the policy.
void exemptFolder(const std::filesystem::path& folder);

// What was read: from here on no file replaces it, under whatever name.
void protectInput(const std::string& path);

// The same for all files below a folder, which the library reads by name.
void protectFolder(const std::string& path);

// Refuses a name of what was read.
void requireNotRead(const std::string& path);

// Refuses a file that is there and must not be replaced.
void requireReplaceable(const std::string& path);

// Tells the user what is left undone in a dry run.
void announce(const std::string& what);
void announceFolder(const std::string& path);

// A file on its way. It is written under a temporary name in the same folder and takes its own when it is whole; what
// cannot be replaced (a device, a pipe, the only file that its folder takes) is written where it is. A link's target is
// replaced and not the link, and the mode of a replaced file stays.
class WholeFile {
public:
    explicit WholeFile(const std::string& path);
    ~WholeFile();
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    void write(std::string_view bytes);

    // For another writer: closes the file and returns the temporary name to write it under; none where there is none,
    // so that write() has to bring what was written elsewhere.
    std::optional<std::string> handOver();

    // Gives the file its name; nothing is left of one that is not committed.
    void commit();

private:
    void open();
    bool openTemporary();
    void openInPlace();
    void moveIntoPlace();
    [[noreturn]] void failToOpen() const;
    [[noreturn]] void failToWrite() const;

    std::string path_;
    std::filesystem::path target_;
    std::optional<TemporaryName> temporary_;
    WritePolicy policy_;
    Descriptor file_;
    bool removesTarget_ = false;
};

}  // namespace qx::tool
