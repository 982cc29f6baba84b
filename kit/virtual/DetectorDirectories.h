#pragma once

// The detector's directories as a table, and folder text in the kit's spelling.

#include "VirtualDetector.h"

#include <array>
#include <filesystem>
#include <string>

namespace qxkit {

struct DirectoryRole {
    const char* key;     // in the TOML file
    const char* folder;  // below a common root
    std::string VirtualDetector::*field;
};

inline constexpr std::array<DirectoryRole, 6> kDirectoryRoles{{
    {"work", "", &VirtualDetector::workDirectory},
    {"offset", "offset", &VirtualDetector::offsetDirectory},
    {"gain", "gain", &VirtualDetector::gainDirectory},
    {"defect", "defect", &VirtualDetector::defectDirectory},
    {"temperature", "temperature", &VirtualDetector::temperatureDirectory},
    {"storage", "storage", &VirtualDetector::storageDirectory},
}};

// The text of the kit that names a folder, '\\' throughout and at the end; empty where there is none: the process's
// code page lacks a character, or, elsewhere than on Windows, a name has a '\\' in it.
std::string toKitDirectory(const std::filesystem::path& folder);

// Returns an error text, empty on success or when the folder is there. No text of the kit is an error, too.
std::string createFolder(const std::filesystem::path& folder);

}  // namespace qxkit
