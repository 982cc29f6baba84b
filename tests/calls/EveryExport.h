#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

// A call of every function that the library exports, with small valid data of its own.
namespace qx::test {

// What a call may run beside: all, all but another call of the same export, or nothing that reads its files.
enum class Company { All, Others, None };

struct ExportCall {
    const char* signature;                   // as tests/exports/QxUtils.txt tells it
    double result;                           // what the call hands back, at every time and in every thread
    double (*call)(const std::string& dir);  // dir, with a separator at its end, is nobody else's at the time
    Company company;
    // What it hands back when an allocation fails, one of two values; nothing where it needs none.
    std::optional<std::array<double, 2>> shortOfMemory = {};
    // What it hands back when something fails that it does with files, unless nothing comes of it.
    std::array<double, 3> shortOfFiles = {};
    bool usesFiles = false;

    constexpr ExportCall memory(double code, double other) const {
        ExportCall changed = *this;
        changed.shortOfMemory = {code, other};
        return changed;
    }
    constexpr ExportCall memory(double code) const { return memory(code, code); }

    // Without a code nothing comes of it at all.
    template <class... Codes>
    constexpr ExportCall files(Codes... codes) const {
        ExportCall changed = *this;
        changed.shortOfFiles.fill(result);
        std::size_t count = 0;
        ((changed.shortOfFiles[count++] = codes), ...);
        changed.usesFiles = true;
        return changed;
    }
};

// Handed back when the call ends with std::bad_alloc, and when it changes an output though it fails, or does not though
// it succeeds.
constexpr double kThrown = -1035;
constexpr double kWrongOutput = -1;

std::span<const ExportCall> everyExport();

// The calls take other images, files and defects from now on, and hand back what they did; not beside a call.
void changeData(std::uint64_t seed);

// A number for all the arrays that this thread's calls took and filled since it was asked for.
std::size_t takeTold();

// Gives the virtual detector small frames, and directories below root with the files that the calls read.
void prepareDetector(const std::string& root);

}  // namespace qx::test
