#include "files/WholeFile.h"

#include "common/ToolError.h"
#include "files/OwnOutputs.h"
#include "files/StandardOutput.h"
#include "text/FileName.h"

#include <algorithm>
#include <iostream>
#include <set>
#include <system_error>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

WritePolicy chosenPolicy;

// Those that a dry run does not make.
std::set<fs::path> announcedFolders;

// Those whose files are the tool's own.
std::set<fs::path> exemptFolders;

std::set<fs::path> inputs;

std::set<fs::path> ownFiles;

WritePolicy policyOf(const fs::path& file) {
    if (exemptFolders.contains(file.parent_path()))
        return {};
    return {chosenPolicy.dryRun, chosenPolicy.noClobber && !ownFiles.contains(file)};
}

// Follows links also to what is not there yet.
fs::path linkTarget(fs::path path) {
    constexpr int kMaxLinks = 40;
    std::error_code error;
    for (int links = 0; links < kMaxLinks && fs::is_symlink(path, error); ++links) {
        const fs::path target = fs::read_symlink(path, error);
        if (error)
            break;
        path = path.parent_path() / target;
    }
    return path;
}

bool isThere(const fs::path& path) {
    std::error_code error;
    return fs::exists(path, error);
}

bool isFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

// Or would, were it made.
bool mayTakeFiles(const fs::path& folder) {
    return announcedFolders.contains(folder) || mayWrite(folder.empty() ? "." : folder);
}

bool isReplaceable(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    return !fs::exists(status) || fs::is_regular_file(status);
}

bool isInput(const fs::path& path) {
    return isThere(path) && isReplaceable(path) && std::ranges::any_of(inputs, [&](const fs::path& input) {
               std::error_code error;
               return fs::equivalent(path, input, error);
           });
}

bool isProtected(const std::string& path) {
    std::error_code error;
    const fs::path file = toPath(path);
    return policyOf(file).noClobber && !streamOfOutput(path) && fs::is_regular_file(file, error);
}

[[noreturn]] void refuseReplacement(const std::string& path) {
    throw ToolError(path + ": is there already; give another name, or leave out --no-clobber");
}

}  // namespace

void setWritePolicy(const WritePolicy& policy) {
    chosenPolicy = policy;
}

const WritePolicy& writePolicy() {
    return chosenPolicy;
}

void requireReplaceable(const std::string& path) {
    if (isProtected(path))
        refuseReplacement(path);
}

void requireNotRead(const std::string& path) {
    if (isInput(linkTarget(toPath(path))))
        throw ToolError(path + ": would overwrite a file that was read; give another name", ExitCode::Usage);
}

void announce(const std::string& what) {
    std::cerr << "qxutils: dry run: would " + printable(what) + '\n';
}

void announceFolder(const std::string& path) {
    // As the folder of a file in it, without a separator at its end.
    if (announcedFolders.insert((toPath(path) / "").parent_path()).second)
        announce("make the folder " + path);
}

void exemptFolder(const fs::path& folder) {
    exemptFolders.insert(folder);
}

void takeForOwn(const std::vector<std::string>& files) {
    ownFiles.clear();
    for (const std::string& file : files)
        ownFiles.insert(toPath(file));
}

void protectInput(const std::string& path) {
    inputs.insert(toPath(path == "-" ? "/dev/stdin" : path));
}

void protectFolder(const std::string& path) {
    std::error_code error;
    for (fs::recursive_directory_iterator entry(toPath(path), error), end; !error && entry != end;
         entry.increment(error))
        inputs.insert(entry->path());
}

WholeFile::WholeFile(const std::string& path)
    : path_(path), target_(linkTarget(toPath(path))), policy_(policyOf(target_)) {
    requireNotRead(path);
    requireReplaceable(path);
    if (const std::optional<int> stream = streamOfOutput(path); stream && !policy_.dryRun) {
        std::cout.flush();
        constexpr int kStandardOutput = 1;
        file_ = openStream(*stream == kStandardOutput ? resultsDescriptor() : *stream);
    } else {
        open();
    }
    if (!file_.isOpen() && !policy_.dryRun)
        failToOpen();
}

WholeFile::~WholeFile() {
    file_.close();
    if (removesTarget_)
        removeFile(target_.c_str());
}

void WholeFile::open() {
    const bool exists = isThere(target_);
    if (exists ? isFolder(target_) || !mayWrite(target_) : policy_.dryRun && !mayTakeFiles(target_.parent_path()))
        failToOpen();
    if (!policy_.dryRun && (!isReplaceable(target_) || !openTemporary()))
        openInPlace();
}

bool WholeFile::openTemporary() {
    temporary_.emplace(nameBeside(target_));
    file_ = createNew(temporary_->path());
    if (file_.isOpen()) {
        takeMode(file_, target_);
        return true;
    }
    // What is emptied on a full disk may find no room for its content.
    if (lacksRoom())
        failToWrite();
    temporary_.reset();
    return false;
}

void WholeFile::openInPlace() {
    const bool isNew = !isThere(target_);
    file_ = qx::tool::openInPlace(target_);
    removesTarget_ = isNew && file_.isOpen();
}

void WholeFile::write(std::string_view bytes) {
    if (!policy_.dryRun && !file_.write(bytes))
        failToWrite();
}

std::optional<std::string> WholeFile::handOver() {
    if (!temporary_)
        return std::nullopt;
    file_.close();
    return toName(temporary_->path());
}

void WholeFile::commit() {
    if (policy_.dryRun) {
        announce((isThere(target_) && isReplaceable(target_) ? "replace " : "write ") + path_);
        return;
    }
    if (!file_.close())
        failToWrite();
    if (temporary_)
        moveIntoPlace();
    removesTarget_ = false;
}

// A file that its folder does not let go, such as another user's in a shared folder, is filled where it is.
void WholeFile::moveIntoPlace() {
    if (moveFile(temporary_->path(), target_, !policy_.noClobber))
        return;
    requireReplaceable(path_);
    std::error_code error;
    if (!isThere(target_) || !fs::copy_file(temporary_->path(), target_, fs::copy_options::overwrite_existing, error))
        failToWrite();
}

void WholeFile::failToOpen() const {
    throw ToolError(path_ + ": cannot be written; check that the folder exists and may be written to");
}

void WholeFile::failToWrite() const {
    throw ToolError(path_ + ": cannot be written completely; check that there is room");
}

}  // namespace qx::tool
