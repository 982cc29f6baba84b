#include "commands/ImageOptions.h"
#include "commands/Subcommand.h"
#include "defects/DefectMap.h"
#include "defects/DefectTables.h"
#include "picture/PngWriter.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <optional>
#include <string>

namespace qx::tool {
namespace {

struct DefectsOptions {
    std::string file;
    std::optional<std::string> picture;
};

void requirePicture(const std::string& picture, const std::string& file, const Shape& shape) {
    requirePictureName(picture, file);
    const auto [width, height] = shape;
    if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide)
        throw ToolError(file + ": the header tells no image size that can be drawn; leave out --png");
}

ExitCode printDefects(const DefectsOptions& options) {
    const DefectLists lists = loadDefectLists(options.file);
    if (options.picture)
        requirePicture(*options.picture, options.file, lists.shape);
    printDefectLists(std::cout, lists);
    if (options.picture)
        writePicture(*options.picture, drawDefectMap(lists));
    return ExitCode::Passed;
}

}  // namespace

void addDefectsCommand(CLI::App& app, Command& chosen) {
    auto [command, options] =
        addSubcommand<DefectsOptions>(app, chosen, "defects", "List the defects of a defect file", printDefects);
    command.add_option("FILE", options.file, "Defect file; its name tells whether it is a structured one")->required();
    command.add_option("--png", options.picture, "Map of the defects, PNG or SVG by its name");
}

}  // namespace qx::tool
