#include "commands/Subcommand.h"
#include "options/BatchOptions.h"
#include "results/Comparison.h"

#include <iostream>
#include <string>

namespace qx::tool {
namespace {

struct CompareOptions {
    std::string today;
    std::string reference;
    ResultOptions results;
};

void print(const Comparison& comparison, Format format) {
    if (format == Format::Json)
        std::cout << toLine(toJson(comparison)) << '\n';
    else if (format == Format::Csv)
        printCsv(std::cout, comparison);
    else
        printTable(std::cout, comparison);
}

ExitCode runCompare(const CompareOptions& options) {
    const Comparison comparison = compareRecords(loadRecords(options.today), loadRecords(options.reference));
    print(comparison, options.results.format);
    return comparison.isWorse() ? ExitCode::NotPassed : ExitCode::Passed;
}

}  // namespace

void addCompareCommand(CLI::App& app, Command& chosen) {
    auto [command, options] =
        addSubcommand(app, chosen, "compare",
                      "Tell what changed between two results; exit code 3 when what passed in the reference does not "
                      "pass today",
                      runCompare);
    command.add_option("TODAY", options.today, "Results that --format json or watch wrote")->required();
    command.add_option("REFERENCE", options.reference, "The results to compare them with")->required();
    addResultOptions(command, options.results);
}

}  // namespace qx::tool
