#pragma once

#include <QxSysMgt.h>

#include <string>
#include <vector>

// A kit that keeps to the letter of its contract: what it points to is valid until its next call, whichever that is.
namespace qx::test {

// How it answers. Directories lie below the root and exist already.
struct StrictKit {
    bool moves = true;  // texts and records move at every call, and what was handed out before is spoilt
    ConfigInfo config{};
    std::string root;  // ends with '\\'
    int integrationTimeMs = 0;
    int width = 0, height = 0;  // of the panel and of the mode
    int transferStatus = 0, headerStatus = 0, splitStatus = 0, correctionStatus = 0;
    // Calls with a result that matters, oldest first, each with all that it was given.
    std::vector<std::string> calls;
};

StrictKit& strictKit();

}  // namespace qx::test
