#pragma once

#include "image/RawImage.h"

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace qx::tool {

// What a command that turns one raw 16-bit image into another one is told on the command line.
struct ImageFiles {
    std::string file;
    std::string shape;
    std::string output;
    std::optional<std::string> picture;

    RawImage load() const;

    // Both throw a ToolError for a name that cannot be written to without harm.
    void requireOutputs() const;
    void requirePicture() const;
};

void addInput(CLI::App& command, ImageFiles& files);
void addOutputs(CLI::App& command, ImageFiles& files, const std::string& pictured);

// Declares --zoom, which needs --png.
void addZoom(CLI::App& command, std::optional<std::string>& zoom);

}  // namespace qx::tool
