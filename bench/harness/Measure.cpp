#include "harness/Measure.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <map>
#include <sstream>
#include <stdexcept>

namespace qx::bench {

namespace {

constexpr double kSlowSeconds = 0.25;
constexpr int kSlowRepetitions = 3;
constexpr double kOnceSeconds = 5;
constexpr int kShownDifferences = 10;

double secondsOfOneRun(const Method& method) {
    const auto start = std::chrono::steady_clock::now();
    method.run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

bool agree(double expected, double actual, double tolerance) {
    if (std::bit_cast<std::uint64_t>(expected) == std::bit_cast<std::uint64_t>(actual))
        return true;
    return tolerance > 0 && std::abs(expected - actual) <= tolerance * std::abs(expected);
}

void requireAgreement(const Method& ours, const Method& other, double tolerance, const std::string& name) {
    if (!ours || !other)
        return;
    const auto expected = ours.result();
    const auto actual = other.result();
    if (std::ranges::equal(expected, actual, [&](double a, double b) { return agree(a, b, tolerance); }))
        return;
    std::ostringstream text;
    text.precision(17);
    text << "ours gives " << expected.size() << " values, " << name << " " << actual.size();
    int shown = 0;
    for (std::size_t i = 0; i < std::min(expected.size(), actual.size()) && shown < kShownDifferences; ++i) {
        if (agree(expected[i], actual[i], tolerance))
            continue;
        text << "; value " << i << ": " << expected[i] << " against " << actual[i];
        ++shown;
    }
    throw std::runtime_error(text.str());
}

struct NamedMethod {
    const char* name;
    const Method* method;
    double firstRunS = 0;

    bool slow() const { return firstRunS > kSlowSeconds; }
    bool runsOnce() const { return firstRunS > kOnceSeconds; }
};

std::vector<NamedMethod> methodsOf(const Row& row) {
    std::vector<NamedMethod> methods;
    const std::array<NamedMethod, 4> all{
        {{"ours", &row.ours}, {"plain", &row.plain}, {"peer", &row.peer}, {"limit", &row.limit}}};
    std::ranges::copy_if(all, std::back_inserter(methods), [](const NamedMethod& m) { return bool(*m.method); });
    return methods;
}

void registerMethod(const NamedMethod& named, const Effort& effort) {
    auto* timed = ::benchmark::RegisterBenchmark(named.name, [method = named.method](::benchmark::State& state) {
        for (auto _ : state)
            method->run();
    });
    timed->Unit(::benchmark::kMillisecond)->UseRealTime();
    timed->Repetitions(named.slow() ? std::min(effort.repetitions, kSlowRepetitions) : effort.repetitions);
    if (named.slow() || effort.single)
        timed->Iterations(1);
}

class CollectingReporter : public ::benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration)
                add(run.run_name.function_name, run.GetAdjustedRealTime());
    }

    void add(const std::string& name, double timeMs) { timesMs_[name].push_back(timeMs); }

    std::optional<double> medianMs(const char* name) const {
        const auto found = timesMs_.find(name);
        if (found == timesMs_.end())
            return std::nullopt;
        auto times = found->second;
        const auto upper = times.begin() + times.size() / 2;
        std::nth_element(times.begin(), upper, times.end());
        if (times.size() % 2 == 1)
            return *upper;
        return (*upper + *std::max_element(times.begin(), upper)) / 2;
    }

private:
    std::map<std::string, std::vector<double>> timesMs_;
};

}  // namespace

void initialiseMeasuring() {
    std::array<std::string, 3> arguments{"qx_bench", "--benchmark_enable_random_interleaving=true",
                                         "--benchmark_min_time=0.05"};
    std::array<char*, 4> argv{arguments[0].data(), arguments[1].data(), arguments[2].data(), nullptr};
    int argc = arguments.size();
    ::benchmark::Initialize(&argc, argv.data());
}

RowTimes measureRow(const Row& row, const Effort& effort) {
    auto methods = methodsOf(row);
    for (NamedMethod& named : methods)
        named.firstRunS = secondsOfOneRun(*named.method);
    requireAgreement(row.ours, row.plain, row.plainTolerance, "plain");
    if (row.peerIsCompared)
        requireAgreement(row.ours, row.peer, row.peerTolerance, row.peerName);

    ::benchmark::ClearRegisteredBenchmarks();
    CollectingReporter reporter;
    for (const NamedMethod& named : methods) {
        if (named.runsOnce())
            reporter.add(named.name, named.firstRunS * 1000);
        else
            registerMethod(named, effort);
    }
    ::benchmark::RunSpecifiedBenchmarks(&reporter, ".");
    return {reporter.medianMs("ours"), reporter.medianMs("plain"), reporter.medianMs("peer"),
            reporter.medianMs("limit")};
}

}  // namespace qx::bench
