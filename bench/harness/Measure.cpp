#include "harness/Measure.h"

#include "harness/Clock.h"
#include "harness/StreamRead.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <map>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace qx::bench {

namespace {

constexpr double kSlowMs = 250;
constexpr int kSlowRepetitions = 3;
constexpr double kOnceMs = 5000;
constexpr const char* kFaults = "page_faults";
constexpr int kShownDifferences = 10;

// Both clocks, in milliseconds.
Time timeOfOneRun(const Method& method) {
    method.prepare();
    const Usage before = usageSoFar();
    const auto start = std::chrono::steady_clock::now();
    method.run();
    const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - start;
    const Usage used = usageSoFar() - before;
    return {used.cpuSeconds * 1000, wall.count(), used.pageFaults};
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
    std::string name;
    const Method* method;
    std::string label;
    bool isJob = false;
    std::vector<Bytes> flushed = {};
    Time firstRun = {};

    bool slow() const { return firstRun.wallMs > kSlowMs; }
    bool runsOnce() const { return firstRun.wallMs > kOnceMs; }
    bool needsPreparation() const { return method->isPrepared() || !flushed.empty(); }
};

std::string nameOf(const std::string& work, const char* method) {
    return work + '/' + method;
}

std::vector<NamedMethod> methodsOf(const std::string& work, const Row& row, bool oursAlone) {
    const std::array<NamedMethod, 4> all{{{nameOf(work, "ours"), &row.ours, row.level},
                                          {nameOf(work, "plain"), &row.plain, ""},
                                          {nameOf(work, "peer"), &row.peer, row.peerName},
                                          {nameOf(work, "limit"), &row.limit, row.limitName}}};
    std::vector<NamedMethod> methods;
    for (NamedMethod named : std::span(all).first(oursAlone ? 1 : all.size())) {
        named.isJob = row.isJob;
        if (*named.method)
            methods.push_back(std::move(named));
    }
    return methods;
}

void runOnce(std::vector<NamedMethod>& methods) {
    for (NamedMethod& named : methods)
        named.firstRun = timeOfOneRun(*named.method);
}

void addMemoryLimit(std::vector<NamedMethod>& methods, const std::string& work, const Row& row) {
    if (!row.limit)
        return;
    std::vector<Bytes> streamed = bytesStreamedBy([&] { row.limit.run(); });
    if (!streamed.empty())
        methods.push_back({nameOf(work, "memory"), &row.limit, row.limitName, false, std::move(streamed)});
}

void runWarm(::benchmark::State& state, const NamedMethod& named) {
    for (auto _ : state)
        named.method->run();
}

void runPrepared(::benchmark::State& state, const NamedMethod& named) {
    for (auto _ : state) {
        state.PauseTiming();
        named.method->prepare();
        flush(named.flushed);
        state.ResumeTiming();
        named.method->run();
    }
}

// The clock of the library knows nothing of other programs.
void runJob(::benchmark::State& state, const NamedMethod& named) {
    double faults = 0.0;
    for (auto _ : state) {
        const Time time = timeOfOneRun(*named.method);
        state.SetIterationTime(time.cpuMs / 1000);
        faults += time.faults;
    }
    state.counters[kFaults] = ::benchmark::Counter(faults, ::benchmark::Counter::kAvgIterations);
}

void registerMethod(const NamedMethod& named, const Effort& effort) {
    auto* timed = ::benchmark::RegisterBenchmark(named.name.c_str(), [&named](::benchmark::State& state) {
        const auto run = named.isJob ? runJob : named.needsPreparation() ? runPrepared : runWarm;
        run(state, named);
        state.SetLabel(named.label);
    });
    timed->Unit(::benchmark::kMillisecond)->ReportAggregatesOnly(true);
    if (named.isJob)
        timed->UseManualTime();
    timed->Repetitions(named.slow() ? std::min(effort.repetitions, kSlowRepetitions) : effort.repetitions);
    if (named.slow() || effort.single)
        timed->Iterations(1);
}

using Runs = std::vector<::benchmark::BenchmarkReporter::Run>;

// A method that is not measured again, as the library tells of others.
Runs onlyRun(const NamedMethod& named) {
    ::benchmark::BenchmarkReporter::Run run;
    run.run_name.function_name = named.name;
    run.report_label = named.label;
    run.iterations = 1;
    run.repetitions = 1;
    run.threads = 1;
    run.time_unit = ::benchmark::kMillisecond;
    run.cpu_accumulated_time = named.firstRun.cpuMs / 1000;
    run.real_accumulated_time = (named.isJob ? named.firstRun.cpuMs : named.firstRun.wallMs) / 1000;
    if (named.isJob)
        run.counters[kFaults] = ::benchmark::Counter(named.firstRun.faults);
    return {run};
}

// Of what the library tells of a method's repetitions: their median, or the only one.
Runs medianOf(const Runs& runs) {
    const auto median = std::ranges::find(runs, "median", &::benchmark::BenchmarkReporter::Run::aggregate_name);
    return median == runs.end() ? runs : Runs{*median};
}

void initialise() {
    // The library keeps the program's name.
    static std::array<std::string, 3> arguments{"qx_bench", "--benchmark_enable_random_interleaving=true",
                                                "--benchmark_min_time=0.05"};
    std::array<char*, 4> argv{arguments[0].data(), arguments[1].data(), arguments[2].data(), nullptr};
    int argc = arguments.size();
    ::benchmark::Initialize(&argc, argv.data());
}

}  // namespace

class Measurer::Reporter : public ::benchmark::BenchmarkReporter {
public:
    explicit Reporter(std::ostream* json) : writesJson_(json != nullptr) {
        if (writesJson_)
            json_.SetOutputStream(json);
    }

    bool ReportContext(const Context& context) override {
        if (writesJson_ && !std::exchange(hasContext_, true))
            json_.ReportContext(context);
        return true;
    }

    void ReportRuns(const Runs& runs) override {
        const Runs medians = medianOf(runs);
        for (const Run& run : medians)
            times_[run.run_name.function_name] = timeOf(run);
        if (writesJson_)
            json_.ReportRuns(medians);
    }

    void Finalize() override {}

    void end() {
        if (writesJson_ && hasContext_)
            json_.Finalize();
    }

    std::optional<Time> timeOf(const std::string& name) const {
        const auto found = times_.find(name);
        return found == times_.end() ? std::nullopt : std::optional(found->second);
    }

private:
    static Time timeOf(const Run& run) {
        const auto faults = run.counters.find(kFaults);
        if (faults == run.counters.end())
            return {run.GetAdjustedCPUTime(), run.GetAdjustedRealTime()};
        return {run.GetAdjustedRealTime(), run.GetAdjustedRealTime(), faults->second.value};
    }

    bool writesJson_;
    bool hasContext_ = false;
    ::benchmark::JSONReporter json_;
    std::map<std::string, Time> times_;
};

Measurer::Measurer(const Circumstances& circumstances, std::ostream* json)
    : reporter_(std::make_unique<Reporter>(json)) {
    initialise();
    ::benchmark::AddCustomContext("machine", circumstances.machine);
    ::benchmark::AddCustomContext("commit", circumstances.commit);
    ::benchmark::AddCustomContext("level", circumstances.level);
}

Measurer::~Measurer() {
    reporter_->end();
}

RowTimes Measurer::measure(const std::string& work, const Row& row, const Effort& effort) {
    auto methods = methodsOf(work, row, effort.oursAlone);
    runOnce(methods);
    if (!effort.oursAlone) {
        requireAgreement(row.ours, row.plain, row.plainTolerance, "plain");
        if (row.peerIsCompared)
            requireAgreement(row.ours, row.peer, row.peerTolerance, row.peerName);
        addMemoryLimit(methods, work, row);
    }
    const auto first = std::ranges::partition(methods, [](const NamedMethod& named) { return !named.runsOnce(); });
    ::benchmark::ClearRegisteredBenchmarks();
    for (const NamedMethod& named : std::span(methods.begin(), first.begin()))
        registerMethod(named, effort);
    ::benchmark::RunSpecifiedBenchmarks(reporter_.get(), ".");
    for (const NamedMethod& named : first)
        reporter_->ReportRuns(onlyRun(named));
    const auto time = [&](const char* method) { return reporter_->timeOf(nameOf(work, method)); };
    return {time("ours"), time("plain"), time("peer"), time("limit"), time("memory")};
}

}  // namespace qx::bench
