#include "commands/Command.h"
#include "common/ComparedNumbers.h"
#include "common/TextTable.h"
#include "image/RawImage.h"
#include "info/FileHeader.h"
#include "snr/FactorySeries.h"
#include "snr/SnrJudgement.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <optional>
#include <string>

namespace qx::tool {
namespace {

struct SnrOptions {
    std::string file;
    std::string shape;
    std::optional<std::string> factoryFile;
};

void printSeries(const std::vector<int>& sides, const SnrSeries& series) {
    TextTable table({"square", "SNR"});
    for (std::size_t square = 0; square < sides.size(); ++square)
        table.addRow({std::to_string(sides[square]), formatNumber(series[square], 1)});
    table.print(std::cout);
}

void printJudgement(const std::vector<int>& sides, const SnrJudgement& judgement, const SnrSeries& factory) {
    TextTable table({"square", "SNR", "factory", "expected", "result"});
    for (std::size_t square = 0; square < sides.size(); ++square) {
        const auto [measured, expected] = textsCompared(judgement.measured[square], judgement.expected[square], 1);
        table.addRow({std::to_string(sides[square]), measured, formatNumber(factory[square], 1), expected,
                      judgement.isBelow(square) ? "below" : "ok"});
    }
    table.print(std::cout);
    std::cout << "verdict " << judgement.verdict << ": " << getStatusMessage(judgement.verdict) << '\n'
              << "grade " << judgement.grade << ": " << getStatusMessage(judgement.grade) << '\n';
}

ExitCode printSnr(const SnrOptions& options) {
    const Shape shape = parseShape(options.shape);
    const auto [image, header] = loadImageFile(options.file, shape);
    const std::vector<int> sides = snrSquareSides(shape);
    if (!options.factoryFile) {
        printSeries(sides, measureSnr(image));
        return ExitCode::Passed;
    }
    const SnrSeries factory = loadFactorySeries(*options.factoryFile, sides.size(), headerIntegrationTime(header));
    const SnrJudgement judgement = judgeSnr(image, factory);
    printJudgement(sides, judgement, factory);
    return judgement.passed() ? ExitCode::Passed : ExitCode::NotPassed;
}

}  // namespace

void addSnrCommand(CLI::App& app, Command& chosen) {
    auto options = std::make_shared<SnrOptions>();
    CLI::App* command = app.add_subcommand("snr", "Measure the SNR series of a raw flat field");
    command->add_option("FILE", options->file, "Raw 16-bit image")->required();
    command->add_option("--shape", options->shape, "WIDTHxHEIGHT in pixels")->required();
    command->add_option(
        "--factory", options->factoryFile,
        "Judge against the SNR series in this TOML, JSON, text or factory SNR file (*-SNR.raw); exit code "
        "3 when it fails");
    command->callback([options, &chosen] { chosen = [options] { return printSnr(*options); }; });
}

}  // namespace qx::tool
