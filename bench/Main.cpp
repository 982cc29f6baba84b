// Measures the library against the plain methods, the peers and the limits, and prints a table of ratios.

#include "foundation/VectorLevel.h"
#include "harness/Measure.h"
#include "harness/Report.h"
#include "harness/Row.h"

#include <CLI/CLI.hpp>
#include <QxSysMgt.h>

#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>

namespace {

using namespace qx::bench;

struct Options {
    std::string only;
    std::string jsonFile;
    std::string level = "best";
    bool dryRun = false;
    int repetitions = 9;
};

void addOptions(CLI::App& app, Options& options) {
    app.add_option("--only", options.only, "Measure the rows whose name contains this text");
    auto* json = app.add_option("--json", options.jsonFile, "Write the medians to this file, one object a row");
    app.add_option("--level", options.level, "Vector level of the library")
        ->check(CLI::IsMember({"baseline", "v3", "v4", "best"}))
        ->capture_default_str();
    // The times of a dry run mean nothing and must not end up in a file.
    app.add_flag("--dry-run", options.dryRun, "Run every row once on small data and compare the results")
        ->excludes(json);
    app.add_option("--repetitions", options.repetitions, "Repetitions a method; the median counts")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
}

void chooseLevel(const std::string& name) {
    const std::map<std::string, qx::VectorLevel> levels{
        {"baseline", qx::VectorLevel::Baseline}, {"v3", qx::VectorLevel::V3}, {"v4", qx::VectorLevel::V4}};
    const auto level = levels.find(name);
    if (level != levels.end() && !qx::forceVectorLevel(level->second))
        throw std::runtime_error("this processor lacks the vector level " + name);
}

// Peers that use threads read these when they are loaded.
void keepPeersSingleThreaded() {
    ::setenv("OMP_NUM_THREADS", "1", 1);
    ::setenv("OPENBLAS_NUM_THREADS", "1", 1);
}

RowReport reportOf(const RowEntry& entry, const Options& options) {
    try {
        const Row row = entry.prepare(Scale{options.dryRun});
        const Effort effort{options.dryRun ? 1 : options.repetitions, options.dryRun};
        const RowTimes times = measureRow(row, effort);
        return {entry.work, row.peerName, row.limitName, qx::vectorLevelName(qx::vectorLevel()), times};
    } catch (const std::exception& failure) {
        throw std::runtime_error(entry.work + ": " + failure.what());
    }
}

void writeJson(const std::string& fileName, const nlohmann::ordered_json& rows) {
    std::ofstream file(fileName);
    file << rows.dump(2) << '\n';
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + fileName);
}

void run(const Options& options) {
    chooseLevel(options.level);
    keepPeersSingleThreaded();
    getConfigInfo()->loggingEnabled = 0;
    initialiseMeasuring();
    if (!options.dryRun)
        printTableHead();
    auto rows = nlohmann::ordered_json::array();
    for (const RowEntry& entry : registeredRows()) {
        if (entry.work.find(options.only) == std::string::npos)
            continue;
        const RowReport report = reportOf(entry, options);
        if (options.dryRun)
            std::cout << "agrees: " << report.work << std::endl;
        else
            printTableRow(report);
        rows.push_back(toJson(report));
    }
    if (rows.empty())
        throw std::runtime_error("no row's name contains \"" + options.only + "\"");
    if (!options.jsonFile.empty())
        writeJson(options.jsonFile, rows);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        CLI::App app("Measures QxUtils against plain methods, peers and limits");
        Options options;
        addOptions(app, options);
        CLI11_PARSE(app, argc, argv);
        run(options);
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
