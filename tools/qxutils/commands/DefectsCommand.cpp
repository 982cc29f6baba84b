#include "commands/Command.h"
#include "common/FileAccess.h"
#include "common/TextTable.h"
#include "defects/DefectLists.h"
#include "defects/DefectMap.h"
#include "picture/PngWriter.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

namespace qx::tool {
namespace {

struct DefectsOptions {
    std::string file;
    std::optional<std::string> picture;
};

std::string textOf(int line) {
    return std::to_string(line);
}

std::string textOf(const Point& point) {
    return "(" + std::to_string(point.x) + ", " + std::to_string(point.y) + ")";
}

std::string textOf(const std::vector<Point>& cluster) {
    return cluster.empty() ? "()" : std::to_string(cluster.size()) + " at " + textOf(cluster.front());
}

template <class Entry>
std::string firstOf(const std::vector<Entry>& list) {
    constexpr std::size_t kShown = 10;
    std::string text;
    for (std::size_t i = 0; i < std::min(kShown, list.size()); ++i)
        text += (i == 0 ? "" : ", ") + textOf(list[i]);
    return list.size() > kShown ? text + " ... and " + std::to_string(list.size() - kShown) + " more" : text;
}

void printLists(const DefectLists& lists) {
    TextTable table({"defects", "count", "first ones"});
    table.alignLeft({2});
    table.addRow({"points", std::to_string(lists.points.size()), firstOf(lists.points)});
    table.addRow({"rows", std::to_string(lists.rows.size()), firstOf(lists.rows)});
    table.addRow({"columns", std::to_string(lists.columns.size()), firstOf(lists.columns)});
    table.addRow({"clusters", std::to_string(lists.clusters.size()), firstOf(lists.clusters)});
    table.print(std::cout);
}

void requirePicture(const std::string& picture, const std::string& file, const Shape& shape) {
    requireName(picture, "the PNG file to write");
    requireOtherFile(picture, file);
    const auto [width, height] = shape;
    if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide)
        throw ToolError(file + ": the header tells no image size that can be drawn; leave out --png");
}

ExitCode printDefects(const DefectsOptions& options) {
    const DefectLists lists = loadDefectLists(options.file);
    if (options.picture)
        requirePicture(*options.picture, options.file, lists.shape);
    printLists(lists);
    if (options.picture)
        writePng(*options.picture, drawDefectMap(lists));
    return ExitCode::Passed;
}

}  // namespace

void addDefectsCommand(CLI::App& app, Command& chosen) {
    auto options = std::make_shared<DefectsOptions>();
    CLI::App* command = app.add_subcommand("defects", "List the defects of a defect file");
    command->add_option("FILE", options->file, "Defect file; its name tells whether it is a structured one")
        ->required();
    command->add_option("--png", options->picture, "Map of the defects");
    command->callback([options, &chosen] { chosen = [options] { return printDefects(*options); }; });
}

}  // namespace qx::tool
