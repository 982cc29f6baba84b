#pragma once

#include "Builders.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// What the targets share. An input is small: it holds the fields of a 65536-byte header that are looked at, and then
// what follows the header.
namespace qx::fuzz {

inline constexpr std::size_t kHeaderBytes = 65536;

// Takes bytes off the front of an input; zeros where it has ended.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : bytes_(reinterpret_cast<const char*>(data), size) {}

    std::string take(std::size_t count) {
        std::string taken = bytes_.substr(0, count);
        bytes_.erase(0, taken.size());
        taken.resize(count);
        return taken;
    }
    const std::string& rest() const { return bytes_; }

private:
    std::string bytes_;
};

// Ends the program when something does not hold.
inline void require(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

// A file that every input overwrites.
inline const char* fuzzFolder() {
    static const test::TemporaryDirectory folder;
    return folder.path().c_str();
}
inline void store(const char* name, const std::string& bytes) {
    test::writeFile(std::string(fuzzFolder()) + name, bytes);
}

// The header of a defect file from 40 bytes: width, height and the eight numbers of the sections, as they are stored.
inline std::string defectHeader(Input& input) {
    std::string header(kHeaderBytes, '\0');
    header.replace(12, 8, input.take(8));
    header.replace(40, 32, input.take(32));
    return header;
}

}  // namespace qx::fuzz
