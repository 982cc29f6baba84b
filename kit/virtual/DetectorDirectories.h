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

// '\\' throughout and at the end.
std::string toKitDirectory(const std::filesystem::path& folder);

// Returns an error text, empty on success or when the folder is there.
std::string createFolder(const std::filesystem::path& folder);

}  // namespace qxkit
