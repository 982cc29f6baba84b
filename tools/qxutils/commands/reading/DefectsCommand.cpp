#include "batch/OutputNames.h"
#include "commands/Subcommand.h"
#include "defects/DefectMap.h"
#include "defects/DefectTables.h"
#include "options/ImageOptions.h"
#include "picture/PngWriter.h"
#include "results/Subject.h"
#include "text/TextStream.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

struct DefectsOptions {
    BatchOptions batch{.endings = {".cal"}};
    std::optional<std::string> picture;
};

void requirePicture(const std::string& picture, const std::string& file, const DefectLists& lists) {
    requirePictureName(picture, file);
    if (!lists.imageShape())
        throw ToolError(file + ": the header tells no image size that can be drawn; leave out --png");
}

Record describe(const DefectsOptions& options, const std::string& file) {
    const NamedInput input(file, kDefectFileWanted);
    const DefectLists lists = loadDefectLists(input);
    if (options.picture) {
        const std::string picture = outputFor(*options.picture, file, kPictureEnding);
        requirePicture(picture, file, lists);
        writePicture(picture, drawDefectMap(lists));
    }
    Record record = defectCountsOf(lists);
    record.subject = subjectOf(input, options.batch.results.tellContent());
    record.subject.shape = lists.imageShape();
    TextStream text;
    printDefectLists(text, lists);
    record.text = text.str();
    return record;
}

ExitCode describeDefects(const DefectsOptions& options) {
    return runBatch(
        options.batch, "defects", [&](const std::string& file) { return std::vector{describe(options, file)}; },
        printNamedTexts,
        [&](const std::vector<std::string>& files) {
            if (options.picture)
                prepareOutputs(*options.picture, files, kPictureEnding);
        });
}

}  // namespace

void addDefectsCommand(CLI::App& app, Command& chosen) {
    auto [command, options] =
        addSubcommand<DefectsOptions>(app, chosen, "defects", "List the defects of defect files", describeDefects);
    addBatchOptions(command, options.batch, "Defect files (*.cal); the name tells whether one is structured");
    command.add_option("--png", options.picture, "Map of the defects, PNG or SVG by its name, or a folder for several")
        ->type_name("FILE");
}

}  // namespace qx::tool
