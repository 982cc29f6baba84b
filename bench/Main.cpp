// Measures the library against the plain methods, the peers and the limits, and prints a table of ratios.

#include "Rows.h"
#include "harness/Measure.h"
#include "harness/Report.h"
#include "harness/SilentOutput.h"
#include "kernels/VectorLevel.h"

#include <CLI/CLI.hpp>
#include <QxSysMgt.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <optional>

namespace {

using namespace qx::bench;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

struct Options {
    std::string only;
    std::optional<std::string> jsonFile;
    std::string level = "best";
    bool dryRun = false;
    bool growth = false;
    int repetitions = 9;
};

const std::vector<int> kGrowthSides = {1024, 2048, 4096, 8192};

bool isNamedBy(const std::string& text, const RowEntry& entry) {
    return entry.work.find(text) != std::string::npos;
}

// An error text when no row's name contains the text.
std::string checkSelection(const std::string& text) {
    const auto rows = allRows();
    const bool any = std::ranges::any_of(rows, [&](const RowEntry& entry) { return isNamedBy(text, entry); });
    return any ? "" : "no row's name contains \"" + text + '"';
}

std::vector<std::string> levelNames() {
    std::vector<std::string> names{"best"};
    for (const qx::VectorLevel level : qx::kEveryVectorLevel)
        names.emplace_back(qx::vectorLevelName(level));
    return names;
}

void addOptions(CLI::App& app, Options& options) {
    app.add_option("--only", options.only, "Measure the rows whose name contains this text")->check(checkSelection);
    auto* json =
        app.add_option("--json", options.jsonFile, "Write the medians to this file, in Google Benchmark's form");
    app.add_option("--level", options.level, "Vector level of the library")
        ->transform(CLI::IsMember(levelNames(), CLI::ignore_case))
        ->capture_default_str();
    // The times of a dry run mean nothing and must not end up in a file.
    app.add_flag("--dry-run", options.dryRun, "Run every row once on small data and compare the results")
        ->excludes(json);
    app.add_flag("--growth", options.growth, "Tell how the library's time grows with the image instead")
        ->excludes("--dry-run")
        ->excludes(json);
    app.add_option("--repetitions", options.repetitions, "Repetitions a method; the median counts")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
}

// "best" is what is in use anyway.
void chooseLevel(const std::string& name) {
    for (const qx::VectorLevel level : qx::kEveryVectorLevel)
        if (name == qx::vectorLevelName(level) && !qx::forceVectorLevel(level))
            throw std::runtime_error("this processor lacks the vector level " + name);
}

// Peers that use threads read these when they are loaded.
void keepPeersSingleThreaded() {
    ::setenv("OMP_NUM_THREADS", "1", 1);
    ::setenv("OPENBLAS_NUM_THREADS", "1", 1);
}

std::string levelOf(const Row& row) {
    return row.level.empty() ? qx::instructionSetName(qx::vectorLevel()) : row.level;
}

RowReport reportOf(const RowEntry& entry, const Options& options, Measurer& measurer) {
    const Row row = entry.prepare(Scale{options.dryRun});
    const Effort effort{options.dryRun ? 1 : options.repetitions, options.dryRun};
    return {entry.work, row.peerName, row.limitName, levelOf(row), measurer.measure(entry.work, row, effort)};
}

void measureTable(const Options& options, Measurer& measurer, const RowEntry& entry) {
    const RowReport report = reportOf(entry, options, measurer);
    if (options.dryRun)
        std::cout << "agrees: " << report.work << std::endl;
    else
        printTableRow(report);
}

// Of a row whose images have the full side.
void measureGrowth(const Options& options, Measurer& measurer, const RowEntry& entry) {
    static const std::string full = std::to_string(kFullSide) + " x " + std::to_string(kFullSide);
    if (entry.work.find(full) == std::string::npos)
        return;
    std::vector<double> cpuMs;
    for (const int side : kGrowthSides) {
        const Row row = entry.prepare(Scale{false, side});
        cpuMs.push_back(measurer.measure(entry.work, row, {options.repetitions, false, true}).ours.value().cpuMs);
    }
    printGrowth(entry.work, kGrowthSides, cpuMs);
}

// A file that is opened before anything is measured.
class JsonFile {
public:
    explicit JsonFile(const std::string& name) : name_(name), file_(name) { requireSuccess(); }

    std::ostream& stream() { return file_; }

    void close() {
        file_.close();
        requireSuccess();
    }

private:
    void requireSuccess() const {
        if (!file_)
            throw std::runtime_error("cannot write " + name_);
    }

    std::string name_;
    std::ofstream file_;
};

void prepare(const Options& options) {
    chooseLevel(options.level);
    keepPeersSingleThreaded();
    bufferOutput();
    getConfigInfo()->loggingEnabled = 0;
}

std::string processorName() {
    const std::string key = "model name";
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (const auto colon = line.find(": "); line.starts_with(key) && colon != line.npos)
            return line.substr(colon + 2);
    }
    return "unknown";
}

Circumstances circumstances() {
    const char* const commit = std::getenv("QX_BENCH_COMMIT");
    return {processorName(), commit == nullptr ? "unknown" : commit, qx::instructionSetName(qx::vectorLevel())};
}

void measureRows(const Options& options, std::ostream* json) {
    Measurer measurer(circumstances(), json);
    for (const RowEntry& entry : allRows()) {
        if (!isNamedBy(options.only, entry))
            continue;
        try {
            (options.growth ? measureGrowth : measureTable)(options, measurer, entry);
        } catch (const std::exception& failure) {
            throw std::runtime_error(entry.work + ": " + failure.what());
        }
    }
}

void run(const Options& options) {
    prepare(options);
    std::optional<JsonFile> json;
    if (options.jsonFile)
        json.emplace(*options.jsonFile);
    if (options.growth)
        printGrowthHead(kGrowthSides);
    else if (!options.dryRun)
        printTableHead();
    measureRows(options, json ? &json->stream() : nullptr);
    if (json)
        json->close();
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Measures QxUtils against plain methods, peers and limits");
    try {
        Options options;
        addOptions(app, options);
        app.parse(argc, argv);
        run(options);
    } catch (const CLI::ParseError& end) {
        // The request for help ends the parsing as well.
        return app.exit(end) == 0 ? 0 : kWrongUsage;
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
        return kFailed;
    }
}
