#pragma once

#include "Builders.h"

#include <QxUtils/Records.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

// What the targets share. An input is small: it holds the fields of a 65536-byte header that are looked at, and then
// what follows the header.
namespace qx::fuzz {

inline constexpr std::size_t kHeaderBytes = kImageHeaderBytes;

// Ends the program when something does not hold.
inline void require(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

// Takes bytes off the front of an input; zeros where it has ended.
class Input {
public:
    explicit Input(std::string_view bytes) : rest_(bytes) {}

    std::string take(std::size_t count) {
        std::string taken(rest_.substr(0, count));
        rest_.remove_prefix(taken.size());
        taken.resize(count);
        return taken;
    }
    template <class Number>
    Number number() {
        Number value;
        std::memcpy(&value, take(sizeof value).data(), sizeof value);
        return value;
    }
    // 0 .. bound - 1, which is at most 255.
    int below(int bound) { return number<std::uint8_t>() % bound; }
    bool flag() { return below(2) != 0; }
    std::string_view rest() const { return rest_; }
    // Up to the next zero, which goes too.
    std::string text() {
        const std::string taken(rest_.substr(0, rest_.find('\0')));
        rest_.remove_prefix(std::min(rest_.size(), taken.size() + 1));
        return taken;
    }

private:
    std::string_view rest_;
};

// Each target by its name; a target calls what it is about, and requires what holds for any input.
using Run = void (*)(Input&);
inline std::map<std::string_view, Run>& targets() {
    static std::map<std::string_view, Run> all;
    return all;
}
struct Target {
    Target(std::string_view name, Run run) { targets().emplace(name, run); }
};

// Where files lie: below TMPDIR, which is best in memory.
inline const std::string& fuzzFolder() {
    static const test::TemporaryDirectory folder;
    return folder.path();
}

// A file that stays open, so that an input writes what it changes and no more. It begins with zeros.
class StoredFile {
public:
    explicit StoredFile(const std::string& name, std::size_t length = kHeaderBytes)
        : path_(fuzzFolder() + name), length_(length) {
        test::writeFile(path_, std::string(length, '\0'));
        file_ = std::fopen(path_.c_str(), "r+b");
        require(file_ != nullptr && std::setvbuf(file_, nullptr, _IONBF, 0) == 0, "file of the input");
    }
    ~StoredFile() { std::fclose(file_); }
    StoredFile(const StoredFile&) = delete;
    StoredFile& operator=(const StoredFile&) = delete;

    void put(std::size_t offset, std::string_view bytes) {
        require(std::fseek(file_, static_cast<long>(offset), SEEK_SET) == 0 &&
                    std::fwrite(bytes.data(), 1, bytes.size(), file_) == bytes.size(),
                "file of the input is written");
        length_ = std::max(length_, bytes.empty() ? 0 : offset + bytes.size());
    }
    // The same, and the file ends there.
    void end(std::size_t offset, std::string_view bytes) {
        put(offset, bytes);
        if (offset + bytes.size() != length_)
            std::filesystem::resize_file(path_, length_ = offset + bytes.size());
    }
    const std::string& path() const { return path_; }

private:
    std::string path_;
    std::size_t length_;
    std::FILE* file_;
};

// The header of a defect file from 40 bytes: width, height and the eight numbers of the sections, as they are stored;
// and what follows the header.
inline void putDefects(StoredFile& file, Input& input) {
    file.put(kDetectorFileHeadOffset + offsetof(DetectorFileHead, width), input.take(8));
    file.put(kDefectSectionsOffset, input.take(32));
    file.end(kHeaderBytes, input.rest());
}

}  // namespace qx::fuzz
