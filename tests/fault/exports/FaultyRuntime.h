#pragma once

#include <string>

// Allocations and file operations that fail when the library, as it is delivered, asks for them. Those of the test, of
// the kit and of the C++ library on their behalf do not.
namespace qx::test {

enum class Fault { Memory, Files };

// Makes one operation of that kind fail: the next one is number 1. A failing read or write does half of what it should,
// a failing close closes, and what was written is lost.
void failOperation(Fault kind, long number);

// Lets all succeed again. The name of the operation that has failed, or null.
const char* stopFailing();

}  // namespace qx::test
