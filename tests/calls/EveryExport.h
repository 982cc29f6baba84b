#pragma once

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

// Gives the virtual detector small frames, and directories below root with the files that the calls read.
void prepareDetector(const std::string& root);

}  // namespace qx::test
