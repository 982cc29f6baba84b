#pragma once

#include <cstddef>
#include <cstdint>
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
};

std::span<const ExportCall> everyExport();

// The calls take other images, files and defects from now on, and hand back what they did; not beside a call.
void changeData(std::uint64_t seed);

// A number for all the arrays that this thread's calls took and filled since it was asked for.
std::size_t takeTold();

// Gives the virtual detector small frames, and directories below root with the files that the calls read.
void prepareDetector(const std::string& root);

}  // namespace qx::test
