#include "checks/FileJudge.h"
#include "commands/Subcommand.h"
#include "options/BatchOptions.h"
#include "options/ImageOptions.h"
#include "snr/SnrRecord.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>

namespace qx::tool {
namespace {

struct SnrOptions {
    BatchOptions batch;
    std::string shape;
    std::optional<std::string> factory;
};

ExitCode runSnr(const SnrOptions& options) {
    const FileJudge judge({.kind = "snr",
                           .shape = parseShape(options.shape),
                           .factory = options.factory,
                           .tellsContent = options.batch.results.tellContent()});
    return runBatch(options.batch.reading(options.factory), "snr", judge, printSnrRecords);
}

}  // namespace

void addSnrCommand(CLI::App& app, Command& chosen) {
    auto [command, options] =
        addSubcommand<SnrOptions>(app, chosen, "snr", "Measure the SNR series of raw flat fields", runSnr);
    addBatchOptions(command, options.batch, "Raw 16-bit images, or results that this command wrote (*.json)");
    addStoreOption(command, options.batch.results.store);
    addShapeOption(command, options.shape);
    command
        .add_option("--factory", options.factory,
                    "Judge against the SNR series in this file: a raw reference image, results of this command "
                    "(*.json), a TOML, JSON or text list, or a factory SNR file (*-SNR.raw); exit code 3 when it "
                    "fails")
        ->type_name("FILE");
}

}  // namespace qx::tool
